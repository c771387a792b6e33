// Fetching, and the statuses of property calls.
#include "bindings/openfx/suites.h"

namespace zelk::bindings {

namespace {

OfxHost* g_host = nullptr;
Suites g_suites;

template <class Suite>
Suite const* fetch(char const* name, int version) {
    return static_cast<Suite const*>(g_host->fetchSuite(g_host->host, name, version));
}

}  // namespace

Suites const& suites() { return g_suites; }
void setHost(OfxHost* host) { g_host = host; }

void fetchSuites() {
    if (!g_host) throw OfxFailure{kOfxStatErrMissingHostFeature};
    Suites s;
    s.property = fetch<OfxPropertySuiteV1>(kOfxPropertySuite, 1);
    s.effect = fetch<OfxImageEffectSuiteV1>(kOfxImageEffectSuite, 1);
    s.parameter = fetch<OfxParameterSuiteV1>(kOfxParameterSuite, 1);
    if (!s.property || !s.effect || !s.parameter) throw OfxFailure{kOfxStatErrMissingHostFeature};
    s.thread = fetch<OfxMultiThreadSuiteV1>(kOfxMultiThreadSuite, 1);
    s.message = fetch<OfxMessageSuiteV2>(kOfxMessageSuite, 2);
    s.hasPersistentMessages = s.message != nullptr;
    if (!s.message) s.message = fetch<OfxMessageSuiteV2>(kOfxMessageSuite, 1);
    s.interact = fetch<OfxInteractSuiteV1>(kOfxInteractSuite, 1);
    s.draw = fetch<OfxDrawSuiteV1>(kOfxDrawSuite, 1);
    g_suites = s;
}

void forgetSuites() { g_suites = {}; }

int Properties::integer(char const* name, int index) const {
    int value = 0;
    require(g_suites.property->propGetInt(m_set, name, index, &value));
    return value;
}

double Properties::number(char const* name, int index) const {
    double value = 0;
    require(g_suites.property->propGetDouble(m_set, name, index, &value));
    return value;
}

std::string Properties::text(char const* name, int index) const {
    char* value = nullptr;
    require(g_suites.property->propGetString(m_set, name, index, &value));
    return value ? value : "";
}

void* Properties::pointer(char const* name) const {
    void* value = nullptr;
    require(g_suites.property->propGetPointer(m_set, name, 0, &value));
    return value;
}

OfxRectI Properties::rectangle(char const* name) const {
    return {integer(name, 0), integer(name, 1), integer(name, 2), integer(name, 3)};
}

int Properties::integerOr(char const* name, int fallback, int index) const {
    int value = 0;
    bool const isThere = g_suites.property->propGetInt(m_set, name, index, &value) == kOfxStatOK;
    return isThere ? value : fallback;
}

double Properties::numberOr(char const* name, double fallback, int index) const {
    double value = 0;
    bool const isThere = g_suites.property->propGetDouble(m_set, name, index, &value) == kOfxStatOK;
    return isThere ? value : fallback;
}

std::string Properties::textOr(char const* name, std::string const& fallback) const {
    char* value = nullptr;
    bool const isThere =
        g_suites.property->propGetString(m_set, name, 0, &value) == kOfxStatOK && value;
    return isThere ? value : fallback;
}

void* Properties::pointerOrNull(char const* name) const {
    void* value = nullptr;
    bool const isThere = g_suites.property->propGetPointer(m_set, name, 0, &value) == kOfxStatOK;
    return isThere ? value : nullptr;
}

void Properties::set(char const* name, int value, int index) const {
    require(g_suites.property->propSetInt(m_set, name, index, value));
}
void Properties::set(char const* name, double value, int index) const {
    require(g_suites.property->propSetDouble(m_set, name, index, value));
}
void Properties::set(char const* name, char const* value, int index) const {
    require(g_suites.property->propSetString(m_set, name, index, value));
}
void Properties::set(char const* name, void* value) const {
    require(g_suites.property->propSetPointer(m_set, name, 0, value));
}
void Properties::set(char const* name, OfxRectD const& rectangle) const {
    double const sides[] = {rectangle.x1, rectangle.y1, rectangle.x2, rectangle.y2};
    require(g_suites.property->propSetDoubleN(m_set, name, 4, sides));
}

bool Properties::offer(char const* name, int value) const {
    return g_suites.property->propSetInt(m_set, name, 0, value) == kOfxStatOK;
}
bool Properties::offer(char const* name, double value) const {
    return g_suites.property->propSetDouble(m_set, name, 0, value) == kOfxStatOK;
}
bool Properties::offer(char const* name, char const* value, int index) const {
    return g_suites.property->propSetString(m_set, name, index, value) == kOfxStatOK;
}
bool Properties::offer(char const* name, void* value) const {
    return g_suites.property->propSetPointer(m_set, name, 0, value) == kOfxStatOK;
}

Properties hostProperties() { return Properties(g_host->host); }

Properties propertiesOf(OfxImageEffectHandle effect) {
    OfxPropertySetHandle set = nullptr;
    require(g_suites.effect->getPropertySet(effect, &set));
    return Properties(set);
}

void tellUser(OfxImageEffectHandle effect, char const* type, std::string const& line) {
    if (g_suites.message) g_suites.message->message(effect, type, "", "%s", line.c_str());
}

void keepMessage(OfxImageEffectHandle effect, std::string const& line) {
    if (!g_suites.hasPersistentMessages) return tellUser(effect, kOfxMessageError, line);
    g_suites.message->setPersistentMessage(effect, kOfxMessageError, "", "%s", line.c_str());
}

void clearMessage(OfxImageEffectHandle effect) {
    if (g_suites.hasPersistentMessages) g_suites.message->clearPersistentMessage(effect);
}

}  // namespace zelk::bindings
