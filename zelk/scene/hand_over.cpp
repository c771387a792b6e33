// See hand_over.h.
#include "zelk/scene/hand_over.h"

#include <nlohmann/json.hpp>

#include "zelk/files/absolute_path.h"
#include "zelk/scene/as_edits.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

using Ordered = nlohmann::ordered_json;
constexpr char const* kHandOverSchema = "zelk-hand-over";
constexpr int kHandOverVersion = 1;
constexpr char const* kUntitled = "untitled.zelk.json";

std::string absoluteText(fs::path const& path) { return absolutePath(path).string(); }

UserError notAHandOver(fs::path const& source) {
    return {ExitCode::kInput, source.string() + ": holds no scene"};
}

}  // namespace

std::string handOverText(HandedScene const& handed) {
    Scene const& scene = handed.scene;
    // Names that start at the working folder do so in the other process too.
    std::string const start = absoluteText(scene.file.empty() ? fs::path(kUntitled) : scene.file);
    Ordered head = {{"schema", kHandOverSchema},
                    {"version", kHandOverVersion},
                    {"file", handed.file.empty() ? "" : absoluteText(handed.file)},
                    {"start", start},
                    {"hasFile", !scene.file.empty()},
                    {"edits", Ordered::array()}};
    if (handed.seen) head["seen"] = {handed.seen->bytes, handed.seen->crc32};
    for (MadeEdit const& edit : editsBesidesFile(scene))
        head["edits"].push_back({edit.name, edit.text});
    try {
        return head.dump() + "\n" + sceneText(scene);
    } catch (Ordered::type_error const&) {
        throw UserError(ExitCode::kOutput,
                        {"a scene", "text can't hold a path such as", scene.layer.name(), "UTF-8"});
    }
}

HandedScene handedScene(fs::path const& source, std::string_view text) {
    auto const end = text.find('\n');
    Ordered const head = Ordered::parse(text.substr(0, end), nullptr, false);
    bool const isOurs =
        end != text.npos && head.is_object() && head.value("schema", "") == kHandOverSchema;
    if (!isOurs || head.value("version", 0) != kHandOverVersion) throw notAHandOver(source);
    try {
        fs::path const start = head.at("start").get<std::string>();
        HandedScene handed{sceneToEditFromText(start, text.substr(end + 1)),
                           head.at("file").get<std::string>()};
        if (head.contains("seen")) {
            Ordered const& seen = head.at("seen");
            handed.seen = FileSum{seen.at(0).get<std::uint64_t>(), seen.at(1).get<std::uint32_t>()};
        }
        if (!head.at("hasFile").get<bool>()) handed.scene.file.clear();
        for (auto const& edit : head.at("edits"))
            sceneEdit(edit.at(0).get<std::string>())
                .apply(handed.scene, source.string(), edit.at(1).get<std::string>());
        handed.scene.options.clear();  // nobody gave them under that name
        return handed;
    } catch (Ordered::exception const&) {
        throw notAHandOver(source);
    } catch (std::out_of_range const&) {
        throw notAHandOver(source);
    }
}

}  // namespace zelk
