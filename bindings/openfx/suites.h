// The host's suites, and property sets as C++ reads them.
//
// Suites are fetched by the load action and stay until the unload action. A suite call that fails
// where there is no answer without it leaves the action as an OfxFailure with the host's status.
// Thread: any, as far as the host lets a suite be called there.
#pragma once

#include <array>
#include <string>

#include "bindings/openfx/ofx_names.h"
#include "bindings/openfx/ofx_types.h"

namespace zelk::bindings {

/// The status that an action answers, and why, for the user.
struct OfxFailure {
    OfxStatus status;
    char const* why = nullptr;
};

/// An answer that is no status of a suite counts as Failed: actions mean something else by it.
inline void require(OfxStatus status) {
    if (status == kOfxStatOK) return;
    throw OfxFailure{status == kOfxStatReplyDefault ? kOfxStatFailed : status};
}

/// The first three are always there; null for another that the host has not.
struct Suites {
    OfxPropertySuiteV1 const* property = nullptr;
    OfxImageEffectSuiteV1 const* effect = nullptr;
    OfxParameterSuiteV1 const* parameter = nullptr;
    OfxMultiThreadSuiteV1 const* thread = nullptr;
    OfxMessageSuiteV2 const* message = nullptr;
    bool hasPersistentMessages = false;
    OfxInteractSuiteV1 const* interact = nullptr;
    OfxDrawSuiteV1 const* draw = nullptr;
};

Suites const& suites();
void setHost(OfxHost* host);
/// Throws MissingHostFeature where one of the first three is not there.
void fetchSuites();
void forgetSuites();

/// A property set of the host's, by handle.
class Properties {
public:
    explicit Properties(OfxPropertySetHandle set) : m_set(set) {}

    // The value, or an OfxFailure.
    int integer(char const* name, int index = 0) const;
    double number(char const* name, int index = 0) const;
    std::string text(char const* name, int index = 0) const;
    void* pointer(char const* name) const;
    template <int N>
    std::array<double, N> numbers(char const* name) const {
        std::array<double, N> values;
        for (int i = 0; i < N; ++i) values[static_cast<std::size_t>(i)] = number(name, i);
        return values;
    }
    OfxRectI rectangle(char const* name) const;

    // The value, or what stands for it in a host that has it not.
    int integerOr(char const* name, int fallback, int index = 0) const;
    double numberOr(char const* name, double fallback, int index = 0) const;
    std::string textOr(char const* name, std::string const& fallback) const;
    void* pointerOrNull(char const* name) const;

    // Setters of what every host has: an OfxFailure where it has not.
    void set(char const* name, int value, int index = 0) const;
    void set(char const* name, double value, int index = 0) const;
    void set(char const* name, char const* value, int index = 0) const;
    void set(char const* name, std::string const& value, int index = 0) const {
        set(name, value.c_str(), index);
    }
    void set(char const* name, void* value) const;
    void set(char const* name, OfxRectD const& rectangle) const;
    /// Of what hosts may lack: whether it was taken.
    bool offer(char const* name, int value) const;
    bool offer(char const* name, double value) const;
    bool offer(char const* name, char const* value, int index = 0) const;
    bool offer(char const* name, void* value) const;

private:
    OfxPropertySetHandle m_set;
};

/// The host's own description.
Properties hostProperties();
Properties propertiesOf(OfxImageEffectHandle effect);

/// A line for the user, in the host's message area; `type` is one of kOfxMessage*. Errors of a
/// render stay until the next that succeeds, where the host can keep them.
void tellUser(OfxImageEffectHandle effect, char const* type, std::string const& line);
void keepMessage(OfxImageEffectHandle effect, std::string const& line);
void clearMessage(OfxImageEffectHandle effect);

}  // namespace zelk::bindings
