// A small OpenFX host for tests and benches: loads a binary, describes it, runs instances of it,
// and watches what the plug-in does.
//
// Space: the interface's own. y up; "canonical" is unscaled square pixels in double, windows and
// bounds are pixels of the render scale, half-open. Pictures are the caller's: an instance reads
// and writes them where they stand.
// What the plug-in must not do goes into `violations`, what it asked for in vain into `misses`,
// what it kept into leaks(): a test wants all three to be empty. One host is alive at a time. All
// calls come from one thread, but Instance::renderAction, which may come from several at once.
#pragma once

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "bindings/openfx/ofx_names.h"
#include "tests/openfx/property_set.h"

namespace zelk_ofx {

/// What kind of host it is.
struct HostChoice {
    std::string name = "tree";
    bool general = true;  ///< the context, beside Filter
    bool multiResolution = true, tiles = true;
    bool drawing = false;        ///< version 1.5: draw suite, overlays of version 2; tells a colour
    bool optional = true;        ///< false: only what every host has, version 1.0
    std::string refusedSuite{};  ///< by name and version: "OfxMessageSuite 2"
};
inline void PrintTo(HostChoice const& choice, std::ostream* out) { *out << choice.name; }
/// "tree", "tree_with_draw_suite", "time_line" (Filter alone, no tiles, no multi resolution),
/// "host_of_1_0" (only what must be there).
std::vector<HostChoice> const& hostChoices();
HostChoice hostChoice(std::string const& name);

/// The failure to come: call `nth` of the suites' functions, counted from 1, answers `status`
/// without doing its work.
struct Fault {
    long nth = 0;  ///< 0: none
    OfxStatus status = kOfxStatFailed;
};

/// Pixels of somebody else's.
struct Picture {
    void* data = nullptr;  ///< bottom left pixel of `bounds`; null: there is no picture
    OfxRectI bounds{};
    int rowBytes = 0;  ///< to the row above; may be negative
    char const* depth = kOfxBitDepthByte;
    char const* components = kOfxImageComponentRGBA;
    double aspect = 1;  ///< of a pixel, width over height
};

/// What is wired to a clip of an instance: one picture at all times and scales.
struct ClipInput {
    Picture picture{};
    OfxRectD region{};  ///< of definition, canonical
    char const* alpha = kOfxImageUnPreMultiplied;
};
/// Its bounds are the region.
ClipInput still(Picture const& picture, char const* alpha = kOfxImageUnPreMultiplied);

/// Canonical; the extent is size and offset.
struct Project {
    OfxPointD size{}, offset{};
};

/// A parameter's value: numbers in the order of its dimensions, or text.
struct Value {
    std::array<double, 4> number{};
    std::string text{};
    bool operator==(Value const&) const = default;
};
struct Animated {
    Value constant{};
    std::map<double, Value> keys{};  ///< linear between keys for doubles, held for the rest
    bool operator==(Animated const&) const = default;
};
/// Persistent parameters by name, as a project keeps them.
using SavedParams = std::map<std::string, Animated>;

struct RenderCall {
    Picture output{};
    OfxRectI window{};
    double time = 0;
    OfxPointD scale{1, 1};
    char const* field = kOfxImageFieldNone;
};

struct Message {
    std::string type, text;
};

inline bool good(OfxStatus status) {
    return status == kOfxStatOK || status == kOfxStatReplyDefault;
}
/// The one of that name, or null.
template <class T>
T* named(std::vector<std::unique_ptr<T>> const& list, std::string_view name) {
    for (auto const& one : list)
        if (one->name == name) return one.get();
    return nullptr;
}

/// One call of the draw suite, with the colour and width of that moment.
struct DrawOp {
    OfxRGBAColourF colour{};
    float width = 0;
    int primitive = -1;  ///< of OfxDrawPrimitive; -1: text
    std::vector<OfxPointD> points{};
    std::string text{};
};

}  // namespace zelk_ofx

// What the handles lead to. Magic numbers tell a handle from another.
struct OfxParamStruct {
    static constexpr unsigned kMagic = 0x7061726d;
    unsigned magic = kMagic;
    std::string name{}, type{};
    OfxPropertySetStruct props;
    char kind = 0;  ///< of the default's values: 'I', 'D', 'S'; 0: the parameter has no value
    int dimensions = 0;
    zelk_ofx::Animated value{};
    struct OfxImageEffectStruct* effect = nullptr;

    zelk_ofx::Value at(double time) const;
};
struct OfxParamSetStruct {
    static constexpr unsigned kMagic = 0x70736574;
    unsigned magic = kMagic;
    OfxImageEffectStruct* effect = nullptr;
    std::vector<std::unique_ptr<OfxParamStruct>> list{};
    OfxParamStruct* find(std::string_view name) const { return zelk_ofx::named(list, name); }
};
struct OfxImageClipStruct {
    static constexpr unsigned kMagic = 0x636c6970;
    unsigned magic = kMagic;
    std::string name;
    OfxPropertySetStruct props;
    zelk_ofx::ClipInput input{};
    bool connected = false;
};
/// A descriptor, or an instance.
struct OfxImageEffectStruct {
    static constexpr unsigned kMagic = 0x65666378;
    unsigned magic = kMagic;
    bool isInstance = false;
    std::string context{};
    OfxPropertySetStruct props;
    OfxParamSetStruct params{};
    std::vector<std::unique_ptr<OfxImageClipStruct>> clips{};
    int openEdits = 0;
    double now = 0;  ///< where the time line stands
    OfxImageClipStruct* clip(std::string_view name) const { return zelk_ofx::named(clips, name); }
};
struct OfxInteract {
    static constexpr unsigned kMagic = 0x696e7472;
    unsigned magic = kMagic;
    OfxPropertySetStruct props;
    int redraws = 0;
};
/// Lives for one draw action.
struct OfxDrawContext {
    static constexpr unsigned kMagic = 0x64726177;
    unsigned magic = kMagic;
    std::vector<zelk_ofx::DrawOp>* ops = nullptr;
    zelk_ofx::DrawOp pen{};
};

namespace zelk_ofx {

/// What is being done on a thread, innermost last; the suites ask it what is allowed.
struct Action {
    char const* name;
    RenderCall const* render = nullptr;                           ///< of a render
    std::vector<std::unique_ptr<OfxPropertySetStruct>> images{};  ///< got in it
};
Action& actionOfThread();

class Instance;

class Host {
public:
    /// Loads the binary, checks its symbols and record, and sets the host. Throws
    /// std::runtime_error when it isn't a plug-in of this kind.
    Host(HostChoice choice, std::string const& binary);
    ~Host();  ///< instances are gone by then
    Host(Host const&) = delete;
    Host& operator=(Host const&) = delete;

    OfxStatus load();
    OfxStatus describe();
    OfxStatus describeIn(char const* context);
    /// All three, or up to the first that fails.
    OfxStatus prepare(char const* context = kOfxImageEffectContextFilter);
    void unload();

    /// An instance of a described context, with values, created and asked for its clip preferences;
    /// null when the plug-in fails in either.
    std::unique_ptr<Instance> create(char const* context,
                                     std::map<std::string, ClipInput> const& inputs,
                                     Project const& project, SavedParams const& setup = {});
    OfxImageEffectStruct const& descriptor(char const* context) const;
    /// What the description of a context lacks or has wrong: a sentence each.
    std::vector<std::string> descriptionFaults(char const* context) const;

    void setFault(Fault const& fault);
    /// The call that failed: "propGet OfxPropTime".
    std::string struck() const { return m_struck; }
    long calls() const { return m_calls; }  ///< of suite functions, since setFault
    /// abort() answers 1 from call n on, counted from 1; 0: never.
    void abortFrom(long n) { m_abortFrom = n, m_aborts = 0; }
    long abortQuestions() const { return m_aborts; }

    std::vector<std::string> violations, leaks;
    std::set<std::string> misses;
    std::vector<Message> messages;

    HostChoice const& choice() const { return m_choice; }
    OfxPluginEntryPoint entry() const { return m_plugin->mainEntry; }

    /// Calls an entry, and checks its answer and what it left behind.
    OfxStatus call(OfxPluginEntryPoint entry, Action action, void* handle,
                   OfxPropertySetStruct* in = nullptr, OfxPropertySetStruct* out = nullptr);
    /// A table of properties as this host has it.
    OfxPropertySetStruct set(char const* table) const {
        return OfxPropertySetStruct(table, m_choice.optional);
    }

    // For the suites.
    OfxStatus enter(char const* function, char const* name = "");
    bool violate(std::string what);                 ///< false
    void keep(bool kept, std::string const& what);  ///< a leak, if it was kept
    int askAbort() { return ++m_aborts >= m_abortFrom && m_abortFrom > 0 ? 1 : 0; }
    void const* suite(std::string const& nameAndVersion) const;
    std::mutex& mutex() { return m_mutex; }

private:
    HostChoice m_choice;
    OfxPropertySetStruct m_props;
    OfxHost m_record{};
    OfxImageEffectStruct& describing(char const* context, OfxPropertySetStruct const& props);
    std::unique_ptr<void, int (*)(void*)> m_library;
    OfxPlugin* m_plugin = nullptr;
    bool m_loaded = false;
    std::map<std::string, OfxImageEffectStruct> m_descriptors;  // "" of Describe, and the contexts'
    Fault m_fault;
    std::atomic<long> m_calls{0}, m_aborts{0}, m_abortFrom{0};
    std::string m_struck;
    std::mutex m_mutex;  // of violations, leaks, misses and messages
};
/// The host that is alive.
Host& currentHost();

class Instance {
public:
    ~Instance();  ///< destroys
    Instance(Instance const&) = delete;
    Instance& operator=(Instance const&) = delete;

    /// A value, or a key at a time, as a user sets it: with the changed actions around. Throws
    /// std::invalid_argument for an unknown name.
    OfxStatus set(std::string const& name, Value const& value, std::optional<double> key = {});
    /// The changed actions alone, as a button sends them, or after values were put by `value`.
    OfxStatus changed(std::string const& name, char const* type = "OfxTypeParameter");
    Animated& value(std::string const& name);
    SavedParams save() const;
    /// Wires a clip or, with null, unwires it, as a user does.
    void connect(std::string const& clip, ClipInput const* input);

    OfxStatus preferences();
    /// The plug-in's answer, or the default of the context.
    OfxRectD regionOfDefinition(RenderCall const& call = {});
    /// The clip that stands for the output, or empty.
    std::string identity(RenderCall const& call);
    OfxStatus sequence(bool begin, RenderCall const& call);
    /// The render action alone, into the caller's pixels.
    OfxStatus renderAction(RenderCall const& call);
    /// Begin, the questions that a host asks, Render, End; the first failing status.
    OfxStatus render(RenderCall const& call);

    OfxImageEffectStruct effect;
    Host& host;

private:
    friend class Host;
    Instance(Host& host, OfxImageEffectStruct const& descriptor, Project const& project);
    OfxStatus send(char const* action, OfxPropertySetStruct* in, OfxPropertySetStruct* out);
    OfxPropertySetStruct arguments(char const* table, RenderCall const& call) const;
    void wire(OfxImageClipStruct& clip, ClipInput const* input);
    bool m_created = false;
};

/// The changed actions around one change.
OfxStatus sendChange(OfxImageEffectStruct& effect, char const* type, std::string const& name,
                     char const* reason);

/// The overlay of an instance in a view. It has the focus while it lives.
class Overlay {
public:
    /// `pixelScale`: size of a screen pixel in canonical units. Version 2 is drawn by the draw
    /// suite, version 1 by OpenGL, which this host has not: its pens and keys work.
    explicit Overlay(Instance& instance, double pixelScale = 1);
    ~Overlay();
    Overlay(Overlay const&) = delete;
    Overlay& operator=(Overlay const&) = delete;

    int version() const { return m_version; }      ///< 0: the plug-in offers none
    OfxStatus status() const { return m_status; }  ///< of describe and create
    /// One of kOfxInteractActionPenMotion, PenDown, PenUp.
    OfxStatus pen(char const* action, OfxPointD canonical);
    /// One of kOfxInteractActionKeyDown, KeyUp, KeyRepeat.
    OfxStatus key(char const* action, int sym);
    OfxStatus draw(std::vector<DrawOp>& ops);
    int redraws() const { return m_shown.redraws; }

private:
    OfxPropertySetStruct arguments(char const* table) const;
    OfxStatus act(char const* action, OfxPropertySetStruct in);

    Instance& m_instance;
    double m_pixelScale;
    OfxPluginEntryPoint m_entry = nullptr;
    int m_version = 0;
    OfxStatus m_status = kOfxStatOK;
    OfxInteract m_shown;
};

}  // namespace zelk_ofx
