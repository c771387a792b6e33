// PluginHost_Standard: what every binding answers alike: the maths library's functions, no library
// to load, frames instead of fields.
#pragma once

#include "host/PluginHost_API.h"

class PluginHost_Standard : public PluginHost_API {
public:
    double math_sqrt(double x) override;
    float math_sqrt(float x) override;
    double math_floor(double x) override;
    float math_floor(float x) override;
    double math_exp(double x) override;
    float math_exp(float x) override;
    double math_atan2(double y, double x) override;
    float math_atan2(float y, float x) override;
    double math_fabs(double x) override;
    float math_fabs(float x) override;
    double math_sin(double x) override;
    float math_sin(float x) override;
    double math_cos(double x) override;
    float math_cos(float x) override;
    double math_fmod(double x, double y) override;
    float math_fmod(float x, float y) override;
    double math_pow(double x, double y) override;
    float math_pow(float x, float y) override;
    float math_ceil(float x) override;
    double math_ceil(double x) override;
    float math_log(float x) override;
    double math_log(double x) override;

    void* getSPARKHost() override { return nullptr; }
    int loadDLL(char const*) override { return 0; }
    int unloadDLL() override { return 0; }
    void* getDLL() override { return nullptr; }
    bool isFieldRendering() override { return false; }
    /// The frame itself, alone.
    void getFullFrameInfo(double time, int frame, int& first, int& count, int& phase) override;
};
