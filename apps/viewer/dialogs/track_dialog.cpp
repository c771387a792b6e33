// See track_dialog.h.
#include "apps/viewer/dialogs/track_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "apps/viewer/dialogs/path_preview.h"
#include "apps/viewer/window_services.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/corner_order.h"
#include "zelk/tracks/forms.h"

namespace zelk {

namespace {

QString shown(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString sizeText(std::optional<PixelSize> const& size) {
    return size ? QString("%1x%2").arg(size->width).arg(size->height) : QString();
}

QString numberText(std::optional<int> const& number) {
    return number ? QString::number(*number) : QString();
}

std::optional<int> wholeOf(QLineEdit const& field, char const* thing) {
    if (field.text().trimmed().isEmpty()) return std::nullopt;
    return wholeInRange(thing, field.text().toStdString(), -kLargestFrame, kLargestFrame);
}

/// A preview need not have more pixels.
constexpr int kLongestPreviewPx = 1280;

}  // namespace

TrackDialog::TrackDialog(Document const& document, std::filesystem::path const& file,
                         QWidget* parent)
    : QDialog(parent),
      m_document(document),
      m_comp(document.scene().comp),
      m_choice(document.scene(), file, document.frameSize(), document.layerSize()),
      m_preview(new PathPreview(this)) {
    setWindowTitle("Import Track: " + nameOf(file));
    auto* const columns = new QHBoxLayout;
    columns->addWidget(m_preview, 1);
    columns->addWidget(makeForm());
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    m_take = buttons->addButton("Import", QDialogButtonBox::AcceptRole);
    m_take->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const rows = new QVBoxLayout(this);
    rows->addLayout(columns, 1);
    rows->addWidget(buttons);
    resize(1120, 640);
    showChoice();
    m_service = std::make_unique<FrameService>([this](SharedFrame const& frame) {
        QMetaObject::invokeMethod(
            this, [this, frame] { takePicture(frame); }, Qt::QueuedConnection);
    });
    askPicture();
}

/// Of a scene without it the frame alone, empty.
void TrackDialog::askPicture() {
    m_under = pictureUnder(m_document.scene(), m_choice.pins());
    auto const [w, h] = m_document.sizeOf(m_under.value_or(ShownPicture::kFrame));
    if (!m_under) return m_preview->setPicture(std::make_shared<World>(WorldSpec{w, h}));
    PictureView view;
    view.shows = *m_under;
    view.reduce = std::max(1, std::max(w, h) / kLongestPreviewPx);
    m_service->ask(m_document.snapshot(), view);
}

/// One of the other pins' picture may come late.
void TrackDialog::takePicture(SharedFrame const& frame) {
    if (frame->view.shows != m_under) return;
    bool const isThere = frame->error.empty();
    m_preview->setPicture(isThere ? std::shared_ptr<World const>(frame, &frame->display) : nullptr);
}

/// Enter in a field takes what it says, and no more.
void TrackDialog::keyPressEvent(QKeyEvent* event) {
    bool const isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isEnter || !qobject_cast<QLineEdit*>(focusWidget())) QDialog::keyPressEvent(event);
}

/// A field that loses the focus to the end would ask for the choice, which is gone by then.
TrackDialog::~TrackDialog() {
    for (QLineEdit* const field : {m_size, m_order, m_firstFrame, m_shift}) field->disconnect(this);
}

void TrackDialog::addField(QFormLayout& form, QString const& name, QLineEdit*& field,
                           QString const& placeholder, QString const& help) {
    field = new QLineEdit(this);
    field->setPlaceholderText(placeholder);
    field->setToolTip(help);
    field->setAccessibleName(name);
    connect(field, &QLineEdit::editingFinished, this, &TrackDialog::readForm);
    form.addRow(name, field);
}

QWidget* TrackDialog::makeForm() {
    auto* const side = new QWidget(this);
    side->setFixedWidth(390);
    auto* const rows = new QVBoxLayout(side);
    rows->setContentsMargins(8, 0, 0, 0);
    m_facts = new QLabel(side);
    m_facts->setWordWrap(true);
    rows->addWidget(m_facts);
    auto* const form = new QFormLayout;
    m_pins = new QComboBox(side);
    m_pins->addItems({"To Pins", "From Pins"});
    m_pins->setAccessibleName("Pins");
    m_pins->setToolTip("Where the picture goes, or what is taken from it");
    connect(m_pins, &QComboBox::activated, this, &TrackDialog::readForm);
    form->addRow("For", m_pins);
    m_format = new QComboBox(side);
    m_format->addItem("By its text");
    for (std::string_view const word : trackFormatWords()) m_format->addItem(shown(word));
    m_format->setAccessibleName("Form");
    m_format->setToolTip("How the file is read");
    connect(m_format, &QComboBox::activated, this, &TrackDialog::readForm);
    form->addRow("Form", m_format);
    addField(*form, "Size", m_size, "the file's own",
             "Of the pictures that were tracked, in pixels: 1920x1080");
    addField(*form, "Corners", m_order, "ul,ur,ll,lr",
             "The file's corners that become upper left, upper right, lower left, lower right");
    addField(*form, "First Frame", m_firstFrame, "the file's own",
             "The number of the file's first frame");
    addField(*form, "Shift", m_shift, "0", "Frames that are added to each number");
    m_flipY = new QCheckBox("y is counted from below", side);
    m_flipY->setToolTip("The file's y grows upwards, from the picture's lower edge");
    connect(m_flipY, &QCheckBox::clicked, this, &TrackDialog::readForm);
    form->addRow("", m_flipY);
    m_fitComp = new QCheckBox(side);
    m_fitComp->setToolTip("The composition then starts and ends with the track");
    form->addRow("", m_fitComp);
    rows->addLayout(form);
    m_fault = new QLabel(side);
    m_fault->setWordWrap(true);
    m_fault->setStyleSheet("color: #ff8a80");
    rows->addWidget(m_fault);
    auto* const scroll = new QScrollArea(side);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    m_warnings = new QWidget(scroll);
    m_warningRows = new QVBoxLayout(m_warnings);
    m_warningRows->setContentsMargins(0, 0, 0, 0);
    m_warningRows->setAlignment(Qt::AlignTop);
    scroll->setWidget(m_warnings);
    rows->addWidget(scroll, 1);
    return side;
}

void TrackDialog::readForm() {
    try {
        TrackReading reading;
        if (m_format->currentIndex() > 0) reading.format = m_format->currentText().toStdString();
        std::string const size = m_size->text().trimmed().toStdString();
        if (!size.empty()) reading.size = parseSize("Size", size);
        std::string const order = m_order->text().trimmed().toStdString();
        if (!order.empty()) parseCornerOrder("Corners", order), reading.order = order;
        reading.firstFrame = wholeOf(*m_firstFrame, "First Frame");
        reading.shiftFrames = wholeOf(*m_shift, "Shift");
        reading.flipsY = m_flipY->isChecked();
        TrackedPins const former = m_choice.pins();
        m_choice.setPins(m_pins->currentIndex() == 0 ? TrackedPins::kTo : TrackedPins::kFrom);
        if (m_choice.pins() != former) askPicture();
        m_choice.setReading(reading);
        showChoice();
    } catch (UserError const& error) {
        m_fault->setText(QString::fromStdString(error.what()));
        m_fault->show();
        m_take->setEnabled(false);
    }
}

void TrackDialog::mend(TrackReading const& reading) {
    m_choice.setReading(reading);
    showChoice();
}

void TrackDialog::showChoice() {
    TrackReading const& reading = m_choice.reading();
    m_format->setCurrentText(reading.format ? shown(*reading.format) : m_format->itemText(0));
    m_size->setText(sizeText(reading.size));
    m_order->setText(QString::fromStdString(reading.order.value_or("")));
    m_firstFrame->setText(numberText(reading.firstFrame));
    m_shift->setText(numberText(reading.shiftFrames));
    m_flipY->setChecked(reading.flipsY);
    Track const* const track = m_choice.track();
    auto const span = m_choice.span();
    m_preview->setTrack(track);
    m_facts->setText(
        track ? QString("%1, frames %2 to %3%4")
                    .arg(shown(track->format))
                    .arg(span->first)
                    .arg(span->last)
                    .arg(track->hasSize()
                             ? QString(", %1 x %2 pixels").arg(track->width).arg(track->height)
                             : "")
              : QString("The file can't be read with these settings."));
    m_fault->setText(QString::fromStdString(m_choice.fault()));
    m_fault->setVisible(!track);
    m_take->setEnabled(track != nullptr);
    bool const reaches = m_choice.reachesBeyond(m_comp);
    m_fitComp->setVisible(reaches);
    m_fitComp->setChecked(m_fitComp->isChecked() && reaches);
    if (span)
        m_fitComp->setText(
            QString("Set the composition to frames %1 to %2").arg(span->first).arg(span->last));
    showWarnings();
}

void TrackDialog::showWarnings() {
    for (auto* const former : m_warnings->findChildren<QFrame*>("warning")) {
        former->hide();
        former->deleteLater();
    }
    for (TrackWarning const& warning : m_choice.warnings()) {
        auto* const row = new QFrame(m_warnings);
        row->setObjectName("warning");
        auto* const column = new QVBoxLayout(row);
        column->setContentsMargins(0, 4, 4, 4);
        auto* const text = new QLabel(QString::fromStdString(warning.text), row);
        text->setWordWrap(true);
        column->addWidget(text);
        if (warning.mended) {
            auto* const fix =
                new QPushButton("Correct: " + QString::fromStdString(warning.mend), row);
            fix->setToolTip("Read the file in the way that the warning calls for");
            connect(fix, &QPushButton::clicked, this,
                    [this, reading = *warning.mended] { mend(reading); });
            column->addWidget(fix, 0, Qt::AlignLeft);
        }
        m_warningRows->addWidget(row);
    }
}

void TrackDialog::put(Document& document) const {
    document.change("Import Track",
                    [this](Scene& scene) { m_choice.put(scene, m_fitComp->isChecked()); });
}

}  // namespace zelk
