// A property set of the tests' OpenFX host: typed values by name, as the interface has them.
//
// A name that the set has not, or has in another type, answers Unknown; an index beyond it
// BadIndex; a write to what the plug-in may only read, Value. A set starts from a table of
// interface.txt, so that what a plug-in asks for in vain is told. Reading is safe from several
// threads, writing not.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "bindings/openfx/ofx_types.h"

namespace zelk_ofx {

/// In the order in which the interface lists its four types.
using Values = std::variant<std::vector<void*>, std::vector<std::string>, std::vector<double>,
                            std::vector<int>>;

/// What the plug-in may do: write on the descriptor alone, on instances too, or never.
enum class Access { kReadOnly, kDescriptor, kBoth };

struct Property {
    Values values{};
    int dimension = 0;  ///< 0: as many values as one likes
    Access access = Access::kReadOnly;
    bool required = true;  ///< every host has it
    bool written = false;  ///< by the plug-in
};
using Properties = std::map<std::string, Property, std::less<>>;

}  // namespace zelk_ofx

/// Also what an image's handle leads to.
struct OfxPropertySetStruct {
    static constexpr unsigned kMagic = 0x70726f70;
    unsigned magic = kMagic;
    std::string table;
    zelk_ofx::Properties properties;
    bool released = false;  ///< of an image

    /// What the table has; throws std::out_of_range when there is none of that name.
    explicit OfxPropertySetStruct(std::string table, bool withOptional = true);

    /// The host's own writing: makes the property where it is missing.
    template <class T>
    OfxPropertySetStruct& put(std::string_view name, std::vector<T> values) {
        auto& property = properties[std::string(name)];
        property.values = std::move(values);
        return *this;
    }
    template <class T>
    OfxPropertySetStruct& put(std::string_view name, T value) {
        return put<T>(name, std::vector<T>{value});
    }
    auto& put(std::string_view name, char const* text) { return put<std::string>(name, text); }
    auto& put(std::string_view name, OfxPointD p) { return put<double>(name, {{p.x, p.y}}); }
    auto& put(std::string_view name, OfxRectD r) {
        return put<double>(name, {{r.x1, r.y1, r.x2, r.y2}});
    }
    auto& put(std::string_view name, OfxRectI r) {
        return put<int>(name, {{r.x1, r.y1, r.x2, r.y2}});
    }
    /// The same for a value that the plug-in may change.
    template <class T>
    void offer(std::string const& name, T value) {
        put(name, value).properties[name].access = zelk_ofx::Access::kBoth;
    }

    /// The host's own reading; throws std::out_of_range for what is not there.
    template <class T>
    std::vector<T> const& all(std::string_view name) const {
        auto const at = properties.find(name);
        if (at == properties.end()) throw std::out_of_range(table + ": " + std::string(name));
        return std::get<std::vector<T>>(at->second.values);
    }
    template <class T>
    T const& get(std::string_view name, std::size_t index = 0) const {
        return all<T>(name).at(index);
    }
    /// Doubles or ints, as doubles; nothing where the property is not there or is no number.
    std::vector<double> numbers(std::string_view name) const;
    bool has(std::string_view name) const { return properties.find(name) != properties.end(); }
};

namespace zelk_ofx {

extern OfxPropertySuiteV1 const kPropertySuite;

// What the property functions need of the host around them.
/// Before each call of a suite function, with the property's name: what it answers instead of doing
/// its work, or OK.
OfxStatus enterCall(char const* function, char const* name);
/// A property that the plug-in can't have: "clip OfxPropFoo: unknown".
void noteMiss(std::string const& what);
/// Keeps a string that is given out until the next call of a suite function.
char* lend(std::string const& text);

/// By name; throws std::out_of_range.
Properties const& propertyTable(std::string const& name);
/// What an action may answer.
std::set<OfxStatus> const& answersOf(std::string const& action);

}  // namespace zelk_ofx
