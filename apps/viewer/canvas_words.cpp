// What the canvas says and is told in words: the readout, warnings, the pins for who doesn't see
// them, and the field for a pin's position; see composition_canvas.h.
#include <algorithm>
#include <utility>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/model/pin_names.h"
#include "apps/viewer/model/readout.h"
#include "apps/viewer/pin_field.h"

namespace zelk {

/// "frame 12.5, 40.0   layer 3.1, 8.4   R 255 ..."; left of the wipe's line "   of the plate: R
/// ..."
void CompositionCanvas::tellReadout() {
    if (!onReadout) return;
    PanelPoint const at = m_map.toPicture(m_lastMouse);
    bool const isInside =
        at.x >= 0 && at.y >= 0 && at.x < m_map.picture().width && at.y < m_map.picture().height;
    if (!m_isHovered || !m_document.isOpen() || !isInside) return onReadout({});
    std::string text = placesText(m_document, m_look.shows, at);
    if (SharedFrame const frame = pointedFrame()) {
        bool const isOwn = frame->view.shows == m_look.shows;
        PixelSize const size = isOwn ? m_map.picture() : m_document.sizeOf(frame->view.shows);
        std::string const values = valuesText(*frame, placeOf(*frame, size, m_document), at);
        if (!isOwn && !values.empty()) text += hasPlate() ? "   of the plate:" : "   of the layer:";
        text += isOwn || values.empty() ? values : values.substr(2);
    }
    onReadout(QString::fromStdString(text));
}

/// Those of all its frames that were shown: they stay while it plays. A frame that failed says
/// nothing of others.
void CompositionCanvas::tellWarnings(ShownFrame const& frame) {
    if (frame.view.shows != ShownPicture::kFrame || !frame.error.empty()) return;
    if (std::exchange(m_warningsOf, frame.revision) != frame.revision) m_warnings.clear();
    for (std::string const& warning : frame.warnings)
        if (QString const text = QString::fromStdString(warning); !m_warnings.contains(text))
            m_warnings.append(text);
    sayWarnings();
}

/// What an inverted scene's picture is, while that is shown; with the warnings of its frame where
/// those still hold.
void CompositionCanvas::holdPlace(bool isFrameSame) {
    bool const isInverted = m_document.isOpen() && m_document.scene().isInverted;
    if (!isInverted || m_look.shows == ShownPicture::kFrame) return;
    if (!isFrameSame) m_warnings.clear();
    m_warningsOf = isFrameSame ? m_warningsOf : 0;
    QString const place = m_look.shows == ShownPicture::kPlate ? "plate" : "layer";
    QString const sentence =
        besidePicture() == m_look.shows
            ? "Inverted: the pins lie in the " + place + "; Shift+F shows what is taken out of it"
            : "Inverted: this is the " + place + "; Shift+F shows the frame";
    dropPlace();
    m_warnings.append(sentence);
    sayWarnings();
}

void CompositionCanvas::dropPlace() {
    m_warnings.removeIf([](QString const& each) { return each.startsWith("Inverted: "); });
}

void CompositionCanvas::sayWarnings() {
    if (onWarnings) onWarnings(m_warnings);
}

/// "upper left To Pin at 120.00, 45.50; ..."
void CompositionCanvas::describePins() {
    if (!m_document.isOpen()) return setAccessibleDescription({});
    QStringList pins;
    for (PinHandle const& pin : m_pins.handles())
        if (pin.isSelected)
            pins << QString("%1 at %2, %3")
                        .arg(QString::fromStdString(pinName(pin.parameter)))
                        .arg(pin.value.x, 0, 'f', 2)
                        .arg(pin.value.y, 0, 'f', 2);
    setAccessibleDescription(pins.empty() ? "No pin is selected; Tab selects one"
                                          : pins.join("; "));
}

void CompositionCanvas::typePosition() {
    if (!m_pins.selection().empty()) openField(*m_pins.selection().begin());
}

void CompositionCanvas::openField(int parameter) {
    auto const pin = m_pins.handleOf(parameter);
    if (!pin) return;
    m_pins.select({parameter});
    m_field =
        std::make_unique<PinField>(QString::fromStdString(pinName(parameter)), pin->value, this);
    m_field->onValue = [this, parameter](PanelPoint value) {
        act([&] { m_pins.moveTo(parameter, value); });
    };
    m_field->onEnd = [this] { closeField(); };
    double const x = pin->at.x / density() + 14, y = pin->at.y / density() + 10;
    m_field->adjustSize();
    m_field->move(static_cast<int>(std::clamp(x, 0.0, double(width() - m_field->width()))),
                  static_cast<int>(std::clamp(y, 0.0, double(height() - m_field->height()))));
    m_field->show();
    m_field->setFocus();
    if (onView) onView();
}

/// It may be the one that calls.
void CompositionCanvas::closeField() {
    PinField* const field = m_field.release();
    if (!field) return;
    // A field that goes with the focus would hand it on, which selects the next pin. One that the
    // focus has left takes nothing back.
    if (window()->focusWidget() == field) setFocus();
    field->hide();
    field->deleteLater();
}

}  // namespace zelk
