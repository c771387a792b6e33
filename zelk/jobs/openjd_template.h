// `--engine openjd`: a job template of Open Job Description, version 2023-09, as JSON, which is
// YAML too.
#pragma once

#include <string>
#include <vector>

#include "zelk/jobs/engine.h"

namespace zelk {

std::string openJdText(Job const& job, Submission const& submission);

void writeTemplate(Job const& job, Submission& submission, std::vector<std::string> const& before,
                   std::function<void()> const& record);
std::string templatePlan(Job const& job, Submission const& submission);
std::string templateNext(Job const& job);

}  // namespace zelk
