// The maths library as a host offers it, and whole frames.
#include "host/PluginHost_Standard.h"

#include <cmath>

double PluginHost_Standard::math_sqrt(double x) { return std::sqrt(x); }
float PluginHost_Standard::math_sqrt(float x) { return std::sqrt(x); }
double PluginHost_Standard::math_floor(double x) { return std::floor(x); }
float PluginHost_Standard::math_floor(float x) { return std::floor(x); }
double PluginHost_Standard::math_exp(double x) { return std::exp(x); }
float PluginHost_Standard::math_exp(float x) { return std::exp(x); }
double PluginHost_Standard::math_atan2(double y, double x) { return std::atan2(y, x); }
float PluginHost_Standard::math_atan2(float y, float x) { return std::atan2(y, x); }
double PluginHost_Standard::math_fabs(double x) { return std::fabs(x); }
float PluginHost_Standard::math_fabs(float x) { return std::fabs(x); }
double PluginHost_Standard::math_sin(double x) { return std::sin(x); }
float PluginHost_Standard::math_sin(float x) { return std::sin(x); }
double PluginHost_Standard::math_cos(double x) { return std::cos(x); }
float PluginHost_Standard::math_cos(float x) { return std::cos(x); }
double PluginHost_Standard::math_fmod(double x, double y) { return std::fmod(x, y); }
float PluginHost_Standard::math_fmod(float x, float y) { return std::fmod(x, y); }
double PluginHost_Standard::math_pow(double x, double y) { return std::pow(x, y); }
float PluginHost_Standard::math_pow(float x, float y) { return std::pow(x, y); }
float PluginHost_Standard::math_ceil(float x) { return std::ceil(x); }
double PluginHost_Standard::math_ceil(double x) { return std::ceil(x); }
float PluginHost_Standard::math_log(float x) { return std::log(x); }
double PluginHost_Standard::math_log(double x) { return std::log(x); }

void PluginHost_Standard::getFullFrameInfo(double, int frame, int& first, int& count, int& phase) {
    first = frame;
    count = 1;
    phase = 0;
}
