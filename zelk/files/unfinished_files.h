// The files that are being written, for the ends of a process that run no destructor: a signal, and
// exit() from within a library (libjpeg's answer to a full disk). They are removed then.
#pragma once

#include <sys/types.h>

#include <string>

namespace zelk {

/// Announces a file before it is created; few live at a time. SIGINT, SIGTERM and SIGHUP, where
/// they have their default action, remove all announced files from then on and do that action.
class UnfinishedFile {
public:
    /// `folder` is open and stays so, and the file is found in it wherever it is moved to.
    /// `message` is for standard error, should a library end the process.
    UnfinishedFile(int folder, std::string const& name, std::string message);
    ~UnfinishedFile();
    UnfinishedFile(UnfinishedFile const&) = delete;
    UnfinishedFile& operator=(UnfinishedFile const&) = delete;

    /// A child process that writes the file and must end before it can be removed; 0 for none.
    void writtenBy(pid_t program);

    /// For signal handlers: async-signal-safe calls only.
    static void removeAll();

private:
    int m_slot;  ///< below 0 when there was no room
};

}  // namespace zelk
