// See color_acts.h.
#include "apps/viewer/color_acts.h"

#include "apps/viewer/model/scene_inputs.h"
#include "zelk/scene/color_names.h"

namespace zelk {

namespace {

QString sentenceOf(ColorsAtHand const& colors) {
    return QString::fromStdString(colors.fault) +
           (colors.areBuiltIn
                ? "; the picture is shown by the built-in colour spaces instead, and no file is "
                  "rendered until it can be read"
                : "; the scene names colour spaces of it, so that no picture is shown until it can "
                  "be read");
}

}  // namespace

ColorActs::ColorActs(WindowServices& services) : m_services(services) {
    services.document->onChange([this](DocumentChange const& change) {
        if (change.inputs) tellFault();
    });
}

void ColorActs::tellFault() {
    ColorsAtHand const& colors = document().colors();
    if (colors.fault.empty()) return m_services.notices->remove("colour");
    Notice notice{NoticeTone::kWarning, sentenceOf(colors), {}, false};
    notice.buttons = {
        {"Try Again", "Read the configuration once more",
         [this] { m_services.attempt([&] { document().readColorsAgain(); }); }},
        {"Choose Configuration\u2026", "Another OpenColorIO configuration for the scene",
         [this] { m_services.attempt([&] { chooseConfig(); }); }}};
    m_services.notices->show("colour", notice);
}

/// One that can't be read is refused.
void ColorActs::chooseConfig() {
    QString const file = m_services.questions.fileToOpen("OpenColorIO Configuration", kAnyFilter);
    if (file.isEmpty()) return;
    Scene wanted = document().scene();
    wanted.color.config = pathIn(wanted, pathOf(file));
    colorConfigOf(wanted);
    document().change("Set Configuration",
                      [&](Scene& scene) { scene.color.config = wanted.color.config; });
}

}  // namespace zelk
