// See submit_job_commands.h.
#include "apps/zelk/submit_job_commands.h"

#include "apps/zelk/submit_command.h"
#include "zelk/files/standard_output.h"
#include "zelk/jobs/job_state.h"
#include "zelk/jobs/submission.h"
#include "zelk/jobs/task.h"
#include "zelk/text/numbers.h"

namespace zelk {

void JobFolder::add(OptionAdder const& add) {
    add.text("Farm", "JOB", m_folder, "", "The job's folder, *.zelk-job");
}

std::filesystem::path JobFolder::path() const {
    return required(m_folder.value_or(""), "JOB", "the folder of a job, *.zelk-job");
}

CommandInfo const SubmitStatusCommand::kInfo = {
    "submit status", "Tell how far a job is", "JOB [OPTIONS]",
    "The exit code is 5 where frames are lost or failed and nobody has them any more:\n"
    "  `zelk submit resume` hands them over again.\n"
    "\n"
    "Examples:\n"
    "  zelk submit status comp.zelk-job\n"};

void SubmitStatusCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_folder.add(add);
    add.flag("Farm", "--json", m_isJson, "Print it as JSON");
    add.flag("Farm", "--verify", m_verifies,
             "Compare every file with what was written, not its size");
}

ExitCode SubmitStatusCommand::run(Invocation const&) {
    Job const job = readJob(m_folder.path());
    JobState const state = stateOf(job, m_verifies);
    print(m_isJson ? stateJson(job, state) : stateText(job, state));
    return state.isWhole() || state.isLive() ? ExitCode::kDone : ExitCode::kSomeFailed;
}

CommandInfo const SubmitResumeCommand::kInfo = {
    "submit resume", "Hand over the frames of a job that are not whole", "JOB [OPTIONS]",
    "Frames that waiting or running tasks have are left to them.\n"
    "\n"
    "Examples:\n"
    "  zelk submit resume comp.zelk-job\n"
    "  zelk submit resume comp.zelk-job --memory 4G\n"};

void SubmitResumeCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_folder.add(add);
    add.text("Farm", "--chunk", m_chunk, "FRAMES", "Frames of a task (as before)");
    add.text("Farm", "--memory", m_memory, "MB", "Memory of a task, such as 800 or 2G (as before)");
    add.flag("Farm", "--verify", m_verifies,
             "Compare every file with what was written, not its size");
    add.flag("Farm", "--dry-run", m_dryRun, "Print what would be handed over");
}

ExitCode SubmitResumeCommand::run(Invocation const&) {
    constexpr int kMostChunk = 1000000;
    ResumeRequest request;
    request.verifies = m_verifies;
    request.dryRun = m_dryRun;
    if (m_chunk) request.framesPerTask = wholeInRange("--chunk", *m_chunk, 1, kMostChunk);
    if (m_memory) request.memoryMb = memoryNamed("--memory", *m_memory);
    print(resumeJob(m_folder.path(), request));
    return ExitCode::kDone;
}

CommandInfo const SubmitCancelCommand::kInfo = {
    "submit cancel", "End what waits and runs of a job", "JOB",
    "What is written stays; `zelk submit resume` goes on with the rest.\n"
    "\n"
    "Examples:\n"
    "  zelk submit cancel comp.zelk-job\n"};

void SubmitCancelCommand::addOptions(CLI::App& app) { m_folder.add(OptionAdder(app)); }

ExitCode SubmitCancelCommand::run(Invocation const&) {
    print(cancelJob(m_folder.path()));
    return ExitCode::kDone;
}

CommandInfo const SubmitTaskCommand::kInfo = {
    "submit task", "Render one task of a job, as its engine does", "JOB SUBMISSION TASK",
    "Frames that an earlier run of the task has written are left out.\n"
    "\n"
    "Examples:\n"
    "  zelk submit task comp.zelk-job 1 7\n"};

void SubmitTaskCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_folder.add(add);
    add.text("Farm", "SUBMISSION", m_submission, "", "1, or more after a resume");
    add.text("Farm", "TASK", m_task, "", "From 1: the line of tasks-SUBMISSION.txt");
}

ExitCode SubmitTaskCommand::run(Invocation const&) {
    constexpr int kMost = 1000000000;
    Job const job = readJob(m_folder.path());
    int const submission = wholeInRange("SUBMISSION", m_submission.value_or(""), 1, kMost);
    return runTask(job, submission, wholeInRange("TASK", m_task.value_or(""), 1, kMost));
}

CommandInfo const SubmitMovieCommand::kInfo = {
    "submit movie", "Gather the frames of a job to its movie, as its engine does", "JOB",
    "Examples:\n"
    "  zelk submit movie comp.zelk-job\n"};

void SubmitMovieCommand::addOptions(CLI::App& app) { m_folder.add(OptionAdder(app)); }

ExitCode SubmitMovieCommand::run(Invocation const&) {
    return gatherMovie(readJob(m_folder.path()));
}

}  // namespace zelk
