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
        step("Next Frame", "PgDown", "Go one frame forward", 1),
        step("Previous Frame", "PgUp", "Go one frame back", -1),
        step("Ten Frames On", "Shift+PgDown", "Go ten frames forward", 10),
        step("Ten Frames Back", "Shift+PgUp", "Go ten frames back", -10),
        to("First Frame", "Home", "Go to the first frame of the play range",
           [this] { return m_player.playback().in(); }),
        to("Last Frame", "End", "Go to the last frame of the play range",
           [this] { return m_player.playback().out(); }),
        to("Previous Key", "J", "Go to the previous keyframe",
           [this] { return keyBefore(m_document); }),
        to("Next Key", "K", "Go to the next keyframe", [this] { return keyAfter(m_document); }),
        range("Start Range Here", "I", "Start the play range at this frame",
              [this](Playback& playback) { playback.setIn(m_document.frame()); }),
        range("End Range Here", "O", "End the play range at this frame",
              [this](Playback& playback) { playback.setOut(m_document.frame()); }),
        range("Play All Frames", "Shift+O", "Set the play range to the whole composition",
              [](Playback& playback) { playback.clearRange(); }),
        loopCommand(LoopMode::kLoop, "Loop", "After the last frame, start again at the first"),
        loopCommand(LoopMode::kPingPong, "Ping-Pong", "Play forward and backward in turn"),
        loopCommand(LoopMode::kOnce, "Once", "Stop at the last frame"),
        {"Play",
         "Skip Frames to Keep the Rate",
         {},
         "Skip frames that are not rendered in time; otherwise playback waits for each",
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
         "Add a keyframe at this frame to the timeline's current row", [this] { addKeysHere(); },
         [this] { return isOpen() && m_view->currentRow() >= 0; }},
        {"Keys", "Delete Keys", QKeySequence("Del"), "Delete the selected keyframes",
         [this] { deleteSelected(); }, selected},
        {"Keys", "Copy Keys", QKeySequence("Ctrl+C"), "Copy the selected keyframes",
         [this] { copySelected(); }, selected},
        {"Keys", "Paste Keys", QKeySequence("Ctrl+V"),
         "Paste the copied keyframes, the first at this frame", [this] { paste(); },
         [this] { return isOpen() && !m_copied.empty(); }},
        {"Keys", "Select All Keys", QKeySequence("Ctrl+Shift+A"),
         "Select all keyframes of all listed rows",
         [this] {
             KeySelection all;
             for (TimelineRow const& row : m_view->rows())
                 for (TimelineKey const& key : row.keys) all.insert(key.ref);
             m_view->select(std::move(all));
         },
         open},
        move("Move Keys Earlier", "Ctrl+Shift+Left",
             "Move the selected keyframes one frame earlier", -1),
        move("Move Keys Later", "Ctrl+Shift+Right", "Move the selected keyframes one frame later",
             1),
        shapeCommand(KeyShape::kLinear, "Linear", QKeySequence("Ctrl+Shift+L"),
                     "Make the selected keyframes linear on both sides"),
        shapeCommand(KeyShape::kHold, "Hold", QKeySequence("Ctrl+Alt+H"),
                     "Hold the value until the next keyframe"),
        shapeCommand(KeyShape::kEase, "Easy Ease", QKeySequence("F9"),
                     "Ease into and out of the selected keyframes"),
        shapeCommand(KeyShape::kEaseIn, "Ease In", QKeySequence("Shift+F9"),
                     "Ease into the selected keyframes"),
        shapeCommand(KeyShape::kEaseOut, "Ease Out", QKeySequence("Ctrl+Shift+F9"),
                     "Ease out of the selected keyframes"),
        {"Keys", "Key Ease\u2026", QKeySequence("Ctrl+Shift+K"),
         "Type influence and speed of the selected keyframes", [this] { askForEase(); },
         [this] { return isOpen() && !easedKeys().empty(); }},
        {"Keys",
         "Show All Parameters",
         {},
         "Show rows of parameters without keyframes too",
         [this] {
             bool const all = m_view->filter() == RowFilter::kAll;
             m_view->setFilter(all ? RowFilter::kAnimated : RowFilter::kAll);
         },
         open,
         [this] { return m_view->filter() == RowFilter::kAll; }},
        {"View/Timeline", "Fit Timeline", QKeySequence("Alt+0"), "Show the whole composition",
         [this] { m_view->fit(); }, open},
        {"View/Timeline", "Zoom Timeline In", QKeySequence("Alt+="), "Show fewer frames, wider",
         [this] { m_view->zoom(1.5); }, open},
        {"View/Timeline", "Zoom Timeline Out", QKeySequence("Alt+-"), "Show more frames, narrower",
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
        note =
            QString("The numbers of one keyframe. What is typed goes to all %1.").arg(eased.size());
    if (!others.empty())
        note += QString("\nA speed goes to the %1 in %2 alone.").arg(same.size()).arg(unit);
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
