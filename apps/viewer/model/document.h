// Document: what is open in the viewer. It holds the scene that is edited, the frame that is looked
// at, what can be undone, and what is saved. It knows no window.
//
//     panel, timeline, dialog --act--> Document --listener--> all of them, and the frame service
//
// The scene is the one model (zelk/scene/scene.h): every act makes a new scene out of the former
// one, and undo takes the former one back, whole. A module at hand gives the parameters of the
// scene their descriptions, checks their values, and answers the mouse; the parameters that it
// keeps are always those of the scene.
//
// Acts. `change` edits the scene itself: files, composition, output. `edit` and `changeValues` edit
// parameters at the frame that is looked at. An act that changes nothing is no step. Between
// beginAct and endAct all of them are one step: a drag, say; cancelAct takes them back.
//
// One thread. Errors are UserError, with everything as it was before.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/edit_session.h"
#include "zelk/files/file_sum.h"
#include "zelk/render/quad_map.h"
#include "zelk/scene/scene.h"

namespace zelk {

class FrameStages;

/// Which picture of a frame.
enum class ShownPicture { kFrame, kLayer, kPlate };

/// What a listener hears of.
struct DocumentChange {
    bool inputs = false;    ///< another scene, or its files, composition or output
    bool values = false;    ///< parameters, their keyframes, which are greyed; feather, shutter
    bool frame = false;     ///< the frame that is looked at
    bool state = false;     ///< name, saved or not, undo and redo
    bool isReload = false;  ///< the same scene with its files read again: nobody's act
};

/// The scene at one moment, for other threads. Scenes of one `structure` differ in nothing but
/// `parameters`, feather, choke and shutter, so that their inputs need not be opened again.
struct SceneSnapshot {
    std::shared_ptr<Scene const> scene;
    std::uint64_t structure = 0;
    std::uint64_t revision = 0;  ///< of any two scenes of a process another one
    int frame = 0;
    bool hasBuiltInColors = false;  ///< ColorsAtHand::areBuiltIn
    std::string files = {};  ///< openedStamps (file_stamps.h), taken before its files were opened
    std::uint64_t reading = 0;  ///< another one where all files are to be read again
};

/// What can be said of the scene's colours on this machine.
struct ColorsAtHand {
    std::string fault;        ///< why its configuration can't be read; empty where it can
    bool areBuiltIn = false;  ///< it is shown by the built-in names instead
};

class Document {
public:
    /// `module`: of all scenes that are opened; empty for the one beside the program.
    explicit Document(std::filesystem::path module = {});
    ~Document();
    Document(Document const&) = delete;
    Document& operator=(Document const&) = delete;

    // --- Files

    /// A project, whose pictures and tracks may be missing (scene_inputs.h). What is open is
    /// closed, saved or not: who calls has asked.
    void open(std::filesystem::path const& name);
    /// A scene without a file of its own, such as a picture with nothing else. A scene without a
    /// composition gets that of its inputs. Its `file` is kept for names that start there.
    void start(Scene scene);
    /// A scene that was saved before a crash: as start, but saved to `file` at the next save.
    /// `seen` is that file as it was read then; nothing: as it is now.
    void recover(Scene scene, std::filesystem::path file, std::optional<FileSum> seen = {});
    /// To its own file; throws a usage error where there is none.
    void save();
    void saveAs(std::filesystem::path const& project);
    /// Opens pictures, tracks and colour configuration again, as others may have written them: no
    /// act, and nothing within one. Snapshots have other numbers from then on.
    void reload();

    bool isOpen() const { return m_stages != nullptr; }
    /// Which of those that were opened one after the other; 0 before the first.
    int opened() const { return m_opened; }
    /// Its full path; empty for a scene that was never saved.
    std::filesystem::path const& file() const { return m_file; }
    /// The file as it was read, or saved last; nothing where it was not there.
    std::optional<FileSum> const& fileSum() const { return m_fileSum; }
    /// Somebody else wrote the file since: a save would replace that.
    bool hasFileChanged() const;
    /// Differs from what is saved. A scene that was started counts from its first state.
    bool isModified() const;

    // --- The scene. All below need an open document.

    Scene const& scene() const { return *m_now.scene; }
    SceneSnapshot snapshot() const;
    PixelSize layerSize() const;  ///< pixels at full resolution
    PixelSize frameSize() const;  ///< of the display window
    /// Of a picture that is shown. An inverted scene's frame has a size of its own, by its pins as
    /// they are now; its plate has frameSize. Opens nothing.
    PixelSize sizeOf(ShownPicture picture) const;
    /// Of the frame as it is rendered, with the scene's Downsample and Grow Bounds: `reduce` times
    /// coarser, or made smaller `to` that size, to which Grow Bounds comes.
    PixelSize renderedSize(int reduce, std::optional<PixelSize> to = {}) const;
    /// First and last frame of the composition.
    int firstFrame() const;
    int lastFrame() const;
    int frame() const { return m_frame; }
    /// Kept within the composition. Nothing while an act is open.
    void setFrame(int frame);
    /// Of the configuration as it was when the scene's structure changed last.
    ColorsAtHand const& colors() const { return m_colors; }
    /// Once more, of a configuration that was mended meanwhile. No step.
    void readColorsAgain();
    /// What its files and values gave cause to say, a sentence each, since the last call.
    std::vector<std::string> takeWarnings();

    // --- Parameters, in the effect's order; index 0 is the layer

    /// With the values and ui_flags of the frame's moment as `current`, and all keyframes.
    std::vector<Parameter> parameters() const;
    Parameter const& parameter(int index) const;
    KeyValue valueOf(int index) const;    ///< at the frame
    KeyValue defaultOf(int index) const;  ///< where nobody set any
    /// The effect has not greyed the control out.
    bool isEnabled(int index) const;
    KeyTime moment() const;  ///< of the frame
    KeyTime momentOf(double frame) const;
    double frameOf(KeyTime const& moment) const;

    // --- Acts. Each answers whether it changed anything.

    /// The inputs are opened again, but for feather, choke and shutter, which are values.
    bool change(std::string name, std::function<void(Scene&)> const& act);
    /// A parameter's value at the frame: a key where it has keys. Kept within the valid range and
    /// rounded to its unit; the effect hears of it where it asked to. Name: "Set Opacity".
    bool edit(int index, KeyValue const& value);
    bool changeValues(std::string name, std::function<void(std::vector<Parameter>&)> const& act);

    /// Ends the one that is open. The frame stays as long as an act is open.
    void beginAct(std::string name);
    bool endAct();
    /// The same for an act that sets values at the frame: one that leaves them as they were, such
    /// as a value that is dragged there and back, is taken back with the keys that it made.
    bool endValueAct();
    void cancelAct();
    /// `run` as a step of that name, or as part of the act that is open. What it throws takes the
    /// whole act back.
    void runAct(std::string name, std::function<void()> const& run);
    bool isActing() const { return m_act.has_value(); }
    /// Of the open act, of any two of a process another one; 0 for none. Who holds an act open for
    /// long learns by it that somebody else has ended it.
    std::uint64_t act() const { return m_act ? m_act->number : 0; }

    /// The effect's own mouse, in a panel: true when it takes the mouse until release, as an act
    /// of its own. Throws a UserError when the effect fails, with the values from before.
    bool click(Panel const& panel, MouseEvent const& mouse);
    void drag(MouseEvent const& mouse);
    bool release(MouseEvent const& mouse);
    /// The effect's overlay in the current port (platform/services/DrawingPort.h).
    void drawOverlay(Panel const& panel);
    /// The effect has an overlay for the scene's host.
    bool hasOverlay() const;
    /// From the next drawOverlay or click on the effect has that quad alone in its panel, where the
    /// two quads don't lie in one picture; nothing: what Overlay Mode says.
    void limitOverlay(std::optional<TrackedPins> pins) { m_overlayPins = pins; }
    /// Between layer and frame at the frame that is looked at.
    QuadMap mapHere() const;

    bool undo();
    bool redo();
    std::string_view undoName() const;  ///< empty for none
    std::string_view redoName() const;

    /// Called after each change, on the calling thread, in order of their adding. They must outlive
    /// the document, or never be called again.
    void onChange(std::function<void(DocumentChange const&)> listener);

private:
    /// A state of the scene; the revision tells two of them apart.
    struct State {
        std::shared_ptr<Scene const> scene;
        std::uint64_t structure = 0, revision = 0;
    };
    struct Step {
        std::string name;
        State before, after;
    };
    struct Origin {
        std::filesystem::path file = {};
        std::optional<FileSum> sum = {};
        bool isSaved = true;
    };
    struct OpenAct {
        std::string name;
        State before;
        std::uint64_t number;
        std::vector<KeyValue> values = {};  ///< valuesHere as it began, but for the effect's mouse
    };

    /// Of any two of a process another one.
    static std::uint64_t nextNumber();
    static int lastFrameOf(Comp const& comp);
    /// `settles`: values that are still text are read, and tracks become keyframes.
    void adopt(Scene scene, Origin origin, int frame, bool settles = false);
    /// `settled`, where it is wanted, becomes the scene with its tracks as keys.
    void openStages(Scene const& scene, int frame, Scene* settled = nullptr);
    void openAnew(Scene const& scene, int frame, Scene* settled = nullptr);
    void show(State const& state);
    void record(std::string name, State const& before);
    std::vector<KeyValue> valuesHere() const;
    bool takeNumbers(std::string name, Scene scene);
    bool takeValues(std::string name, std::function<bool()> const& act);
    bool step(bool isUndo);
    void saveTo(std::filesystem::path const& name, bool mayReplace);
    void tell(DocumentChange const& change) const;
    Host& host() const;
    void holdOverlayMode();
    void freeOverlayMode();

    std::filesystem::path m_module;
    std::unique_ptr<FrameStages> m_stages;
    std::unique_ptr<EditSession> m_session;
    std::vector<Parameter> m_defaults;
    ColorsAtHand m_colors;
    std::string m_files;  ///< that the stages opened (openedStamps)
    State m_now;
    std::uint64_t m_savedRevision = 0;
    std::uint64_t m_reloads = 0;
    std::filesystem::path m_file;
    std::optional<FileSum> m_fileSum;
    int m_opened = 0;
    int m_frame = 0;
    std::vector<Step> m_steps;
    std::size_t m_done = 0;  ///< steps up to here are done, the rest undone
    std::optional<OpenAct> m_act;
    std::optional<TrackedPins> m_overlayPins;
    std::optional<double> m_overlayMode;  ///< the scene's, while the effect is told another one
    std::vector<std::function<void(DocumentChange const&)>> m_listeners;
};

}  // namespace zelk
