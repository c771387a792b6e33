// The canvas and its bar; the commands stand in composition_commands.cpp.
#include "apps/viewer/composition_panel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QStandardItemModel>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_choices.h"
#include "apps/viewer/parameters/own_keys.h"
#include "apps/viewer/parameters/popup.h"

namespace zelk {
namespace {

constexpr double kZoomChoices[] = {0.25, 0.5, 1, 2, 4, 8, 16};

template <class Choices>
QStringList namesOf(Choices const& choices) {
    QStringList names;
    for (auto const& choice : choices) names << choice.name;
    return names;
}

template <class Choices, class Value>
int placeOf(Choices const& choices, Value value) {
    auto const isIt = [&](auto const& choice) { return choice.value == value; };
    return static_cast<int>(std::find_if(choices.begin(), choices.end(), isIt) - choices.begin());
}

/// The last entry of a box, the plate, as the menu has it.
void greyLast(QComboBox& box, bool isGrey) {
    auto const* const model = qobject_cast<QStandardItemModel*>(box.model());
    model->item(box.count() - 1)->setEnabled(!isGrey);
}

QString zoomText(double zoom) { return QString::number(zoom * 100, 'g', 4) + " %"; }

}  // namespace

CompositionPanel::CompositionPanel(Document& document, QWidget* parent)
    : QWidget(parent),
      m_document(document),
      m_canvas(new CompositionCanvas(document, this)),
      m_bar(new QWidget(this)) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_canvas, 1);
    layout->addWidget(m_bar);
    makeBar();
    m_canvas->onView = [this] { keepUp(); };
    m_canvas->onReadout = [this](QString const& text) { showReadout(text); };
    m_canvas->onFailure = [this](QString const& sentence) { emit told(sentence); };
    m_canvas->onWarnings = [this](QStringList const& sentences) { emit warned(sentences); };
    setFocusProxy(m_canvas);
    keepUp();
}

CompositionPanel::~CompositionPanel() = default;

FrameService& CompositionPanel::frames() { return m_canvas->frames(); }
PictureView CompositionPanel::view() const { return m_canvas->restView(); }

QComboBox* CompositionPanel::addBox(QString const& name, QString const& help,
                                    QStringList const& entries,
                                    std::function<void(int)> const& choose) {
    auto* const box = new Popup(m_bar);
    box->addItems(entries);
    box->setAccessibleName(name);
    box->setToolTip(help);
    box->setFocusPolicy(Qt::TabFocus);
    box->setMinimumWidth(74);  // dots tell what is cut
    connect(box, &QComboBox::activated, this, choose);
    m_bar->layout()->addWidget(box);
    return box;
}

QToolButton* CompositionPanel::addSwitch(QString const& name, QString const& help,
                                         bool CanvasLook::*field) {
    auto* const button = new QToolButton(m_bar);
    button->setText(name);
    button->setAccessibleName(name);
    button->setToolTip(help);
    button->setCheckable(true);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    keepKeys(*button, {Qt::Key_Space});
    connect(button, &QToolButton::clicked, this, [this, field](bool isOn) {
        changeLook([&](CanvasLook& look) { look.*field = isOn; });
    });
    m_bar->layout()->addWidget(button);
    m_switches.emplace_back(button, field);
    return button;
}

void CompositionPanel::makeBar() {
    auto* const row = new QHBoxLayout(m_bar);
    row->setContentsMargins(6, 3, 8, 3);
    row->setSpacing(6);
    m_shows = addBox("Picture", "What is shown (Shift+F, Shift+L, Shift+P)", namesOf(kShownChoices),
                     [this](int place) {
                         changeLook([&](CanvasLook& look) {
                             look.shows = kShownChoices.at(static_cast<std::size_t>(place)).value;
                         });
                     });
    QStringList zooms = {"", "Fit"};
    for (double const zoom : kZoomChoices) zooms << zoomText(zoom);
    m_zoom = addBox("Zoom", "Zoom, % of the picture's pixels (F fits, Ctrl+1 is 100 %)", zooms,
                    [this](int place) {
                        m_canvas->changeView([&](ViewMap& map) {
                            if (place == 1) map.fit();
                            if (place > 1) map.zoomAtCenter(kZoomChoices[place - 2]);
                        });
                    });
    m_zoom->setMinimumContentsLength(13);  // of "Fit, 123.4 %"
    m_channels = addBox("Channels", "Channels that are shown (Alt+1 to Alt+5, Alt+C for colour)",
                        namesOf(kChannelChoices), [this](int place) {
                            changeLook([&](CanvasLook& look) {
                                look.pixels.channels =
                                    kChannelChoices.at(static_cast<std::size_t>(place)).value;
                            });
                        });
    m_backdrop = addBox("Background", "What shows where the picture is transparent",
                        namesOf(kBackdropChoices), [this](int place) {
                            changeLook([&](CanvasLook& look) {
                                look.pixels.backdrop =
                                    kBackdropChoices.at(static_cast<std::size_t>(place)).value;
                            });
                        });
    addSwitch("Pins", "Show pins, outlines and motion paths (Ctrl+Shift+H)",
              &CanvasLook::hasOverlay);
    addSwitch("Snap",
              "Snap pins to corners, middles of edges and whole pixels (S; Ctrl while "
              "dragging does the reverse)",
              &CanvasLook::snaps);
    addSwitch("Wipe", "Compare the frame with the plate, or with the layer where there is none (W)",
              &CanvasLook::hasWipe);
    m_readout = new QLabel(m_bar);
    m_readout->setAccessibleName("Pixel under the cursor");
    m_readout->setToolTip(
        "Position in frame and layer, pixels, and the values of the output file; of layer and "
        "plate those of their files, straight (screen: what is shown, where memory is short "
        "for the others)");
    m_readout->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_readout->setMinimumWidth(40);
    m_readout->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    row->addWidget(m_readout, 1);
}

/// Where there is no room for all of it, the place in the other picture goes first.
void CompositionPanel::showReadout(QString const& text) {
    QStringList parts = text.split("   ");
    auto const fits = [&] {
        return m_readout->fontMetrics().horizontalAdvance(parts.join("   ")) <= m_readout->width();
    };
    auto const isPlace = [](QString const& part) {
        return part.startsWith("frame") || part.startsWith("layer");
    };
    if (!fits() && isPlace(parts.value(1))) parts.removeAt(1);
    if (!fits() && parts.size() > 1) parts.removeFirst();
    m_readout->setAccessibleDescription(text);  // all of it
    m_readout->setText(
        m_readout->fontMetrics().elidedText(parts.join("   "), Qt::ElideRight, m_readout->width()));
}

void CompositionPanel::changeLook(std::function<void(CanvasLook&)> const& act) {
    CanvasLook look = m_canvas->look();
    act(look);
    bool const isOther = look.shows != m_canvas->look().shows;
    m_canvas->setLook(look);
    bool const isHidden = isOther && look.shows == ShownPicture::kLayer &&
                          m_canvas->pins().hidesFromPins() && look.hasOverlay;
    if (isOther)
        emit told(isHidden ? "Overlay Mode hides the From Pins: Pins > Show From Pins shows them"
                           : "");
}

void CompositionPanel::keepUp() {
    CanvasLook const& look = m_canvas->look();
    m_shows->setCurrentIndex(placeOf(kShownChoices, look.shows));
    m_channels->setCurrentIndex(placeOf(kChannelChoices, look.pixels.channels));
    m_backdrop->setCurrentIndex(placeOf(kBackdropChoices, look.pixels.backdrop));
    for (QComboBox* const box : {m_shows, m_backdrop}) greyLast(*box, !m_canvas->hasPlate());
    m_zoom->setItemText(
        0, (m_canvas->map().isFit() ? "Fit, " : "") + zoomText(m_canvas->map().zoom()));
    m_zoom->setCurrentIndex(0);
    for (auto const& [button, field] : m_switches) {
        button->setChecked(look.*field);
        button->setEnabled(field != &CanvasLook::hasWipe || look.shows == ShownPicture::kFrame);
    }
}

}  // namespace zelk
