// The memory host's settings, parameters from a table, and clock. The contract of each
// operation is in PluginHost_API.h and PluginHost_Memory_Impl.h.
#include "host/PluginHost_Memory_Impl.h"

#include "Transform/Common/SaturatingCast.h"
#include "params/ParamIndex.h"

namespace {

constexpr int kNoSuchThing = 1;

}  // namespace

// ---- PluginHost_Memory_Impl: construction and settings

PluginHost_Memory_Impl::PluginHost_Memory_Impl(RasterInfo const& input, RasterInfo const& output,
                                               MemoryHostFamily family)
    : m_inputs{{kParamInputLayer, input}}, m_output(output), m_family(family) {}

void PluginHost_Memory_Impl::setApplication(char const (&id)[5]) {
    m_application = 0;
    for (int i = 0; i < 4; ++i)
        m_application = (m_application << 8) | static_cast<unsigned char>(id[i]);
}

void PluginHost_Memory_Impl::setTime(TimeObject const& now, int frameLength) {
    m_now = now;
    m_frameLength = frameLength;
}

void PluginHost_Memory_Impl::setColor(int index, double red, double green, double blue) {
    m_params[index] = constant({red, green, blue});
}

void PluginHost_Memory_Impl::failAllocation(int nth, int code, bool givesRaster) {
    m_failAt = m_tally->allocations + nth;
    m_failCode = code;
    m_failGivesRaster = givesRaster;
}

PluginHost_Memory_Impl::Animation PluginHost_Memory_Impl::constant(Value value) {
    return [value](TimeObject const&) { return value; };
}

// ---- Memory, suites, clock

void* PluginHost_Memory_Impl::allocMemory(int bytes) {
    ++m_tally->handles;
    return new std::vector<unsigned char>(static_cast<std::size_t>(bytes));
}

void* PluginHost_Memory_Impl::lockMemory(void* handle) {
    return static_cast<std::vector<unsigned char>*>(handle)->data();
}

void PluginHost_Memory_Impl::deallocMemory(void* handle) {
    if (!handle) return;
    --m_tally->handles;
    delete static_cast<std::vector<unsigned char>*>(handle);
}

int PluginHost_Memory_Impl::acquireSuite(char const*, int, char const*, void** suite) {
    *suite = nullptr;
    return kNoSuchThing;
}

int PluginHost_Memory_Impl::getFPS(float& framesPerSecond) {
    if (m_now.timeStep <= 0) return 0;
    framesPerSecond = static_cast<float>(m_now.timeScale) / static_cast<float>(m_now.timeStep);
    return 1;
}

// ---- Parameters

int PluginHost_Memory_Impl::read(int index, TimeObject const& time, Value& value) const {
    auto const found = m_params.find(index);
    if (found == m_params.end()) return kNoSuchThing;
    value = found->second(time);
    return 0;
}

int PluginHost_Memory_Impl::GetFloatValue(int index, int, TimeObject const& time, double& value) {
    Value v;
    if (int const code = read(index, time, v)) return code;
    value = v.x;
    return 0;
}

int PluginHost_Memory_Impl::GetAngleValue(int index, int kind, TimeObject const& time,
                                          double& degrees) {
    return GetFloatValue(index, kind, time, degrees);
}

int PluginHost_Memory_Impl::GetIntValue(int index, int, TimeObject const& time, int& value) {
    Value v;
    if (int const code = read(index, time, v)) return code;
    value = truncatedToInt32(v.x);
    return 0;
}

int PluginHost_Memory_Impl::GetUIntValue(int index, int, TimeObject const& time, unsigned& value) {
    Value v;
    if (int const code = read(index, time, v)) return code;
    value = static_cast<unsigned>(truncatedToInt32(v.x));
    return 0;
}

int PluginHost_Memory_Impl::GetBoolValue(int index, int, TimeObject const& time, bool& value) {
    Value v;
    if (int const code = read(index, time, v)) return code;
    value = v.x != 0;
    return 0;
}

int PluginHost_Memory_Impl::GetPoint2DValue(int index, int, TimeObject const& time, double& x,
                                            double& y) {
    Value v;
    if (int const code = read(index, time, v)) return code;
    x = v.x;
    y = v.y;
    return 0;
}

int PluginHost_Memory_Impl::GetColorValue(int index, int, TimeObject const& time, double& red,
                                          double& green, double& blue) {
    Value v;
    if (int const code = read(index, time, v)) return code;
    red = v.x;
    green = v.y;
    blue = v.z;
    return 0;
}
