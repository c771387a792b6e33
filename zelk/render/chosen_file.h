// A user who has one file in mind: answers the effect's file dialog for the length of a scope.
#pragma once

#include <filesystem>
#include <string>

#include "platform/services/FileChooser.h"

namespace zelk {

class ChosenFile {
public:
    explicit ChosenFile(std::filesystem::path const& file) : m_file(file.string()) {
        installFileChooserBackend(&m_backend);
    }
    ~ChosenFile() { installFileChooserBackend(nullptr); }
    ChosenFile(ChosenFile const&) = delete;
    ChosenFile& operator=(ChosenFile const&) = delete;

private:
    static OSStatus choose(void* context, FileChooserRequest const*, char* path, std::size_t size) {
        std::string const& file = static_cast<ChosenFile*>(context)->m_file;
        if (file.size() >= size) return kNameTooLongStatus;
        file.copy(path, size);
        path[file.size()] = '\0';
        return 0;
    }
    std::string m_file;
    FileChooserBackend m_backend{this, choose, nullptr};
};

}  // namespace zelk
