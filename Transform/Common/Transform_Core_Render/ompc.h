// The render code's door to the OpenMP runtime: how many threads its parallel loops may take.
//
// The number is a setting of the calling thread. A command may lower it for its own length;
// OmpcThreadScope, held at the command's entry, brings the former number back.
#pragma once

/// Threads for the parallel loops that follow on this thread; 0 or less stands for one.
void ompc_set_num_threads(int count);

/// Notes the present number and restores it when it goes.
class OmpcThreadScope {
public:
    OmpcThreadScope();
    ~OmpcThreadScope();
    OmpcThreadScope(OmpcThreadScope const&) = delete;
    OmpcThreadScope& operator=(OmpcThreadScope const&) = delete;

private:
    int m_former;
};
