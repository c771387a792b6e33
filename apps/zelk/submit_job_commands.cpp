// See submit_job_commands.h.
#include "apps/zelk/submit_job_commands.h"

#include "apps/zelk/submit_command.h"
#include "zelk/files/standard_output.h"
#include "zelk/jobs/job_lock.h"
#include "zelk/jobs/job_state.h"
#include "zelk/jobs/output_jobs.h"
#include "zelk/jobs/runners.h"
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

void TaskOptions::add(OptionAdder const& add) {
    add.text("Farm", "SUBMISSION", m_submission, "", "1, or more after a resume");
    add.text("Farm", "--job-id", m_jobId, "ID",
             "The id of the job that the engine was given; another one is refused");
    add.text("Farm", "--script", m_script, "PROCESS",
             "The script that starts this, and that the work lasts as long as");
}

TaskCaller TaskOptions::caller() const {
    constexpr int kMostProcess = 1 << 22;
    TaskCaller caller{m_jobId, {}};
    if (m_script) caller.script = processOf(wholeInRange("--script", *m_script, 1, kMostProcess));
    return caller;
}

int TaskOptions::submission() const {
    constexpr int kMost = 1000000000;
    return wholeInRange("SUBMISSION", m_submission.value_or(""), 1, kMost);
}

CommandInfo const SubmitBeginCommand::kInfo = {
    "submit begin", "Note that a script starts all tasks of a job, as its run.sh does",
    "JOB SUBMISSION --script PROCESS [OPTIONS]",
    "The job is at work as long as the process lives.\n"
    "\n"
    "Examples:\n"
    "  zelk submit begin comp.zelk-job 1 --script $$\n"};

void SubmitBeginCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_folder.add(add);
    m_options.add(add);
}

ExitCode SubmitBeginCommand::run(Invocation const&) {
    Job job = readJob(m_folder.path());
    TaskCaller const caller = m_options.caller();
    int const submission = m_options.submission();
    if (!caller.script) throw missing("--script", "the id of a process that runs");
    // Of two scripts of one output the second one finds the first.
    JobLock const lock(job, JobLock::Of::kOutput);
    job = readJob(job.folder);
    requireWanted(job, submission, caller);
    requireOutputFree(job);
    noteScript(job, submission, *caller.script);
    return ExitCode::kDone;
}

CommandInfo const SubmitTaskCommand::kInfo = {
    "submit task", "Render one task of a job, as its engine does", "JOB SUBMISSION TASK [OPTIONS]",
    "Frames that an earlier run of the task has written are left out.\n"
    "\n"
    "Examples:\n"
    "  zelk submit task comp.zelk-job 1 7\n"};

void SubmitTaskCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_folder.add(add);
    m_options.add(add);
    add.text("Farm", "TASK", m_task, "", "From 1: the line of tasks-SUBMISSION.txt");
}

ExitCode SubmitTaskCommand::run(Invocation const&) {
    constexpr int kMost = 1000000000;
    Job const job = readJob(m_folder.path());
    int const submission = m_options.submission();
    int const task = wholeInRange("TASK", m_task.value_or(""), 1, kMost);
    return runTask(job, submission, task, m_options.caller());
}

CommandInfo const SubmitMovieCommand::kInfo = {
    "submit movie", "Gather the frames of a job to its movie, as its engine does",
    "JOB [SUBMISSION] [OPTIONS]",
    "Without SUBMISSION it is the job's last one.\n"
    "\n"
    "Examples:\n"
    "  zelk submit movie comp.zelk-job\n"};

void SubmitMovieCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_folder.add(add);
    m_options.add(add);
}

ExitCode SubmitMovieCommand::run(Invocation const&) {
    Job const job = readJob(m_folder.path());
    bool const isNamed = m_options.submissionText() || job.submissions.empty();
    int const submission = isNamed ? m_options.submission() : job.submissions.back().number;
    return gatherMovie(job, submission, m_options.caller());
}

}  // namespace zelk
