// Every page, and every shell's script; see written_pages.h.
#include "apps/zelk/written_pages.h"

#include "apps/zelk/completion.h"
#include "apps/zelk/man_page.h"
#include "zelk/files/text_file.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

void write(fs::path const& file, std::string const& text) {
    std::error_code fault;
    fs::create_directories(file.parent_path(), fault);
    if (fault)
        throw UserError(ExitCode::kOutput, {file.parent_path().string(),
                                            "cannot be made: " + fault.message(), "", ""});
    writeTextFile(file, text, true);
}

}  // namespace

void writePages(CommandPage const& program, fs::path const& folder) {
    for (CommandPage const* page : allPages(program))
        write(folder / "man1" / (page->name("-") + ".1"), manPage(*page, program));
    Parameters const parameters = settableParameters();
    write(folder / "bash/zelk", bashCompletion(program, parameters));
    write(folder / "zsh/_zelk", zshCompletion(program, parameters));
    write(folder / "fish/zelk.fish", fishCompletion(program, parameters));
}

}  // namespace zelk
