// What the timeline's menus and keys do; see timeline_panel.h.
#include "apps/viewer/ease_dialog.h"
#include "apps/viewer/model/field_text.h"
#include "apps/viewer/timeline_panel.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {

ViewerCommands TimelinePanel::commands() {
    ViewerCommands all = playCommands();
    for (ViewerCommand& command : keyCommands()) all.push_back(std::move(command));
    return all;
}

ViewerCommands TimelinePanel::playCommands() {
    auto const open = [this] { return isOpen(); };
    auto const step = [&](QString const& name, char const* keys, QString const& help, int frames) {
        return ViewerCommand{
            "Play", name, QKeySequence(keys), help, [this, frames] { m_player.stepBy(frames); },
            open};
    };
    auto const to = [&](QString const& name, char const* keys, QString const& help,
                        std::function<int()> const& frame) {
        return ViewerCommand{
            "Play", name, QKeySequence(keys), help, [this, frame] { m_player.goTo(frame()); },
            open};
    };
    auto const range = [&](QString const& name, char const* keys, QString const& help,
                           std::function<void(Playback&)> const& act) {
        return ViewerCommand{"Play",
                             name,
                             QKeySequence(keys),
                             help,
                             [this, act] {
                                 act(m_player.playback());
                                 emit m_player.changed();
                             },
                             open};
    };
    return {
        {"Play", "Play", QKeySequence("Space"), "Play the range, or stop",
         [this] { m_player.toggle(); }, open, [this] { return m_player.playback().isPlaying(); }},
        step("Next Frame", "PgDown", "One frame on", 1),
        step("Previous Frame", "PgUp", "One frame back", -1),
        step("Ten Frames On", "Shift+PgDown", "Ten frames on", 10),
        step("Ten Frames Back", "Shift+PgUp", "Ten frames back", -10),
        to("First Frame", "Home", "To the first frame that plays",
           [this] { return m_player.playback().in(); }),
        to("Last Frame", "End", "To the last frame that plays",
           [this] { return m_player.playback().out(); }),
        to("Previous Key", "J", "To the keyframe before", [this] { return keyBefore(m_document); }),
        to("Next Key", "K", "To the keyframe after", [this] { return keyAfter(m_document); }),
        range("Start Range Here", "I", "What plays starts at this frame",
              [this](Playback& playback) { playback.setIn(m_document.frame()); }),
        range("End Range Here", "O", "What plays ends with this frame",
              [this](Playback& playback) { playback.setOut(m_document.frame()); }),
        range("Play All Frames", "Shift+O", "What plays is the whole composition",
              [](Playback& playback) { playback.clearRange(); }),
        loopCommand(LoopMode::kLoop, "Loop", "From the last frame to the first"),
        loopCommand(LoopMode::kPingPong, "Ping-Pong", "Forward and backward"),
        loopCommand(LoopMode::kOnce, "Once", "Stop at the last frame"),
        {"Play",
         "Skip Frames to Keep the Rate",
         {},
         "Leave out frames that are not rendered in time; else each is waited for",
         [this] { m_player.playback().skipsFrames = !m_player.playback().skipsFrames; },
         open,
         [this] { return m_player.playback().skipsFrames; }},
    };
}

ViewerCommand TimelinePanel::loopCommand(LoopMode mode, QString const& name, QString const& help) {
    return {"Play/Repeat",
            name,
            {},
            help,
            [this, mode] { m_player.playback().mode = mode; },
            {},
            [this, mode] { return m_player.playback().mode == mode; }};
}

ViewerCommand TimelinePanel::shapeCommand(KeyShape shape, QString const& name,
                                          QKeySequence const& keys, QString const& help) {
    return {"Keys",
            name,
            keys,
            help,
            [this, shape, undo = name.toStdString()] {
                actOnKeys(undo.c_str(), [&](std::vector<Parameter>& parameters) {
                    shapeKeys(parameters, m_view->selection(), shape);
                    return m_view->selection();
                });
            },
            [this] { return hasSelection(); }};
}

ViewerCommands TimelinePanel::keyCommands() {
    auto const open = [this] { return isOpen(); };
    auto const selected = [this] { return hasSelection(); };
    auto const move = [&](QString const& name, char const* keys, QString const& help, int frames) {
        return ViewerCommand{
            "Keys",  name, QKeySequence(keys), help, [this, frames] { moveSelected(frames); },
            selected};
    };
    return {
        {"Keys", "Add Key", QKeySequence("Ins"),
         "A key at this frame on the timeline's current row", [this] { addKeysHere(); },
         [this] { return isOpen() && m_view->currentRow() >= 0; }},
        {"Keys", "Delete Keys", QKeySequence("Del"), "The selected keys go",
         [this] { deleteSelected(); }, selected},
        {"Keys", "Copy Keys", QKeySequence("Ctrl+C"), "The selected keys, to be pasted elsewhere",
         [this] { copySelected(); }, selected},
        {"Keys", "Paste Keys", QKeySequence("Ctrl+V"), "The copied keys, the first at this frame",
         [this] { paste(); }, [this] { return isOpen() && !m_copied.empty(); }},
        {"Keys", "Select All Keys", QKeySequence("Ctrl+Shift+A"), "All keys of the rows that show",
         [this] {
             KeySelection all;
             for (TimelineRow const& row : m_view->rows())
                 for (TimelineKey const& key : row.keys) all.insert(key.ref);
             m_view->select(std::move(all));
         },
         open},
        move("Move Keys Earlier", "Ctrl+Shift+Left", "The selected keys one frame earlier", -1),
        move("Move Keys Later", "Ctrl+Shift+Right", "The selected keys one frame later", 1),
        shapeCommand(KeyShape::kLinear, "Linear", QKeySequence("Ctrl+Shift+L"),
                     "Straight on both sides of the selected keys"),
        shapeCommand(KeyShape::kHold, "Hold", QKeySequence("Ctrl+Alt+H"),
                     "The value stays until the next key"),
        shapeCommand(KeyShape::kEase, "Easy Ease", QKeySequence("F9"),
                     "Slow before and after the selected keys"),
        shapeCommand(KeyShape::kEaseIn, "Ease In", QKeySequence("Shift+F9"),
                     "Slow before the selected keys"),
        shapeCommand(KeyShape::kEaseOut, "Ease Out", QKeySequence("Ctrl+Shift+F9"),
                     "Slow after the selected keys"),
        {"Keys", "Key Ease\u2026", QKeySequence("Ctrl+Shift+K"),
         "Influence and speed of the selected keys as numbers", [this] { askForEase(); },
         [this] { return isOpen() && !easedKeys().empty(); }},
        {"Keys",
         "Show All Parameters",
         {},
         "Rows of parameters without keys too",
         [this] {
             bool const all = m_view->filter() == RowFilter::kAll;
             m_view->setFilter(all ? RowFilter::kAnimated : RowFilter::kAll);
         },
         open,
         [this] { return m_view->filter() == RowFilter::kAll; }},
        {"View/Timeline", "Fit Timeline", QKeySequence("Alt+0"), "The whole composition",
         [this] { m_view->fit(); }, open},
        {"View/Timeline", "Zoom Timeline In", QKeySequence("Alt+="), "Larger frames",
         [this] { m_view->zoom(1.5); }, open},
        {"View/Timeline", "Zoom Timeline Out", QKeySequence("Alt+-"), "Smaller frames",
         [this] { m_view->zoom(1 / 1.5); }, open},
    };
}

void TimelinePanel::actOnKeys(char const* name,
                              std::function<KeySelection(std::vector<Parameter>&)> const& act) {
    KeySelection now;
    m_document.changeValues(name,
                            [&](std::vector<Parameter>& parameters) { now = act(parameters); });
    m_view->select(std::move(now));
}

void TimelinePanel::addKeysHere() {
    int const row = m_view->currentRow();
    if (row < 0) return;
    int const index = m_view->rows()[static_cast<std::size_t>(row)].index;
    actOnKeys("Add Key", [&](std::vector<Parameter>& parameters) {
        return addKeys(parameters, {index}, m_document.moment());
    });
}

void TimelinePanel::deleteSelected() {
    actOnKeys("Delete Keys", [&](std::vector<Parameter>& parameters) {
        deleteKeys(parameters, m_view->selection(), m_document.moment());
        return KeySelection();
    });
}

void TimelinePanel::copySelected() {
    m_copied = copyKeys(m_document.parameters(), m_view->selection(),
                        [this](KeyTime const& time) { return m_document.frameOf(time); });
}

void TimelinePanel::paste() {
    actOnKeys("Paste Keys", [&](std::vector<Parameter>& parameters) {
        return pasteKeys(parameters, m_copied, m_document.frame(),
                         [this](double frame) { return m_document.momentOf(frame); });
    });
}

void TimelinePanel::moveSelected(int frames) {
    frames = framesWithin(m_document, m_view->selection(), frames);
    if (frames == 0) return;
    actOnKeys("Move Keys", [&](std::vector<Parameter>& parameters) {
        return moveKeys(parameters, m_view->selection(), [&](KeyTime const& time) {
            return m_document.momentOf(m_document.frameOf(time) + frames);
        });
    });
}

KeySelection TimelinePanel::easedKeys() const {
    KeySelection eased = m_view->selection();
    std::erase_if(eased, [this](KeyRef const& key) {
        return m_document.parameter(key.index).track().holdsOnly();
    });
    return eased;
}

/// A speed goes to keys of the same unit.
void TimelinePanel::askForEase(std::optional<KeyRef> const& clicked) {
    KeySelection const eased = easedKeys();
    if (eased.empty()) return;
    KeyRef const shown = clicked && eased.contains(*clicked) ? *clicked : *eased.begin();
    auto const unitOf = [](KeyRef const& key) { return shortUnit(unitOfParameter(key.index)); };
    QString const unit = QString::fromStdString(unitOf(shown)) + "/s";
    KeySelection same, others;
    for (KeyRef const& key : eased) (unitOf(key) == unitOf(shown) ? same : others).insert(key);
    QString note;
    if (eased.size() > 1)
        note = QString("The numbers of one key. What is typed goes to all %1.").arg(eased.size());
    if (!others.empty())
        note += QString("\nA speed goes to the %1 in %2.").arg(same.size()).arg(unit);
    EaseDialog dialog(sidesOf(m_document.parameter(shown.index), shown.time), unit, note, this);
    if (dialog.exec() != QDialog::Accepted) return;
    EaseChange const incoming = dialog.incoming(), outgoing = dialog.outgoing();
    actOnKeys("Key Ease", [&](std::vector<Parameter>& parameters) {
        easeKeys(parameters, same, incoming, outgoing);
        easeKeys(parameters, others, {incoming.influencePercent, {}},
                 {outgoing.influencePercent, {}});
        return m_view->selection();
    });
}

}  // namespace zelk
