// See export_dialog.h.
#include "apps/viewer/dialogs/export_dialog.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "apps/viewer/viewer_application.h"
#include "apps/viewer/window_services.h"
#include "zelk/movies/codecs.h"
#include "zelk/movies/writer.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/inputs.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

std::optional<std::string> chosen(QComboBox const& box) {
    if (box.currentIndex() <= 0 || !box.isEnabled()) return std::nullopt;
    return box.currentText().toStdString();
}

void add(QFormLayout& form, QString const& name, QWidget* field, QString const& help) {
    field->setToolTip(help);
    field->setAccessibleName(name);
    form.addRow(name, field);
}

QString failureText(ExportFailure const& failure) {
    QString const place = QString::fromStdString(failure.place);
    return (place.isEmpty() ? "" : place + ": ") + QString::fromStdString(failure.message);
}

}  // namespace

ExportDialog::ExportDialog(WindowServices& services, Range marked, QWidget* parent)
    : QDialog(parent), m_services(services), m_marked(std::move(marked)) {
    setWindowTitle("Export");
    setMinimumWidth(560);
    auto* const form = new QFormLayout;
    makeForm(*form);
    makeProgress(*form);
    auto* const rows = new QVBoxLayout(this);
    rows->addLayout(form);
    m_said = new QLabel(this);
    m_said->setTextFormat(Qt::PlainText);
    m_said->setWordWrap(true);
    m_said->setTextInteractionFlags(Qt::TextSelectableByMouse);
    rows->addWidget(m_said);
    rows->addWidget(makeButtons());
    for (auto* const field : findChildren<QLineEdit*>())
        connect(field, &QLineEdit::textChanged, this, &ExportDialog::lookAgain);
    for (auto* const box : findChildren<QComboBox*>())
        connect(box, &QComboBox::currentIndexChanged, this, &ExportDialog::lookAgain);
    tell({});
    showFields();
    showState();
    services.document->onChange([self = QPointer(this)](DocumentChange const& change) {
        if (self && change.inputs) self->follow();
    });
}

ExportDialog::~ExportDialog() = default;

QComboBox* ExportDialog::makeChoice(QFormLayout& form, QString const& name, char const* edit,
                                    QString const& byDefault) {
    auto* const box = new QComboBox(this);
    box->addItem(byDefault);
    for (std::string_view const word : sceneEdit(edit).words())
        box->addItem(QString::fromUtf8(word.data(), static_cast<qsizetype>(word.size())));
    add(form, name, box, sceneEdit(edit).help);
    return box;
}

QCheckBox* ExportDialog::makeCheckbox(QFormLayout& form, QString const& name, QString const& help) {
    auto* const box = new QCheckBox(name, this);
    box->setToolTip(help);
    form.addRow("", box);
    return box;
}

void ExportDialog::makeForm(QFormLayout& form) {
    m_output = new QLineEdit(this);
    m_output->setPlaceholderText("comp.####.exr, comp.mov or frame.png");
    auto* const browse = new QPushButton("Browse\u2026", this);
    browse->setToolTip("Choose the file to write");
    browse->setAutoDefault(false);
    connect(browse, &QPushButton::clicked, this, &ExportDialog::askOutput);
    connect(m_output, &QLineEdit::textChanged, this, &ExportDialog::showFields);
    auto* const line = new QHBoxLayout;
    m_output->setAccessibleName("Output");
    line->addWidget(m_output, 1);
    line->addWidget(browse);
    form.addRow("Output", line);
    m_frames = new QLineEdit(this);
    add(form, "Frames", m_frames, "Such as 1001-1100 or 1-10,20-30x2");
    m_codec = makeChoice(form, "Codec", "codec", "By the extension");
    m_quality = new QLineEdit(this);
    m_quality->setPlaceholderText("a high one");
    add(form, "Codec Quality", m_quality, "Of a lossy codec, in its own range");
    m_channels = makeChoice(form, "Channels", "channels", "As layer and plate have them");
    m_depth = makeChoice(form, "Depth", "depth", "As layer and plate have it");
    m_skip = makeCheckbox(form, "Leave out frames that are there and whole",
                          "Files that are there and can be read stay as they are");
    m_share = makeCheckbox(form, "Share the frames with other runs",
                           "Other machines may render frames of the same files at the same time");
}

/// A part that is marked in the timeline, what the scene says, or all.
QString ExportDialog::framesByDefault() const {
    Document const& document = *m_services.document;
    if (auto const marked = m_marked())
        return QString("%1-%2").arg(marked->first).arg(marked->second);
    QString const own = QString::fromStdString(document.scene().frames.value_or(""));
    bool const isStill = document.firstFrame() == document.lastFrame();
    if (!own.isEmpty() || isStill) return own;
    return QString("%1-%2").arg(document.firstFrame()).arg(document.lastFrame());
}

/// What the first entries stand for.
void ExportDialog::nameOwnChoices() {
    Scene const& scene = m_services.document->scene();
    auto const name = [](QComboBox& box, std::string_view own, QString const& otherwise) {
        QString const word = QString::fromUtf8(own.data(), static_cast<qsizetype>(own.size()));
        box.setItemText(0, own.empty() ? otherwise : word + ", as the scene says");
    };
    name(*m_codec, scene.codec ? *scene.codec : "", "By the extension");
    name(*m_channels, scene.channels ? *scene.channels : "", "As layer and plate have them");
    name(*m_depth, scene.depth ? wordOf(kDepthWords, *scene.depth) : "",
         "As layer and plate have it");
    m_quality->setPlaceholderText(scene.codecQuality
                                      ? QString("%1, as the scene says").arg(*scene.codecQuality)
                                      : QString("a high one"));
}

/// What was typed for one scene's frames says nothing of another one's. An output that was typed
/// stays where the scene has none of its own.
void ExportDialog::settle() {
    Document const& document = *m_services.document;
    std::string const output = exportedFile(document.scene(), {}).string();
    bool const isOther = std::exchange(m_opened, document.opened()) != document.opened();
    bool const isTyped = m_output->text() != QString::fromStdString(m_sceneOutput);
    if ((isOther || output != m_sceneOutput) && !(output.empty() && isTyped))
        m_output->setText(QString::fromStdString(output));
    m_sceneOutput = output;
    nameOwnChoices();
    bool const wasTyped = m_frames->text() != m_defaultFrames;
    m_defaultFrames = framesByDefault();
    if (isOther || !wasTyped) m_frames->setText(m_defaultFrames);
    m_frames->setPlaceholderText(m_defaultFrames.isEmpty() ? "the one there is" : m_defaultFrames);
    showFields();
}

void ExportDialog::follow() {
    if (isVisible() && !isRunning()) settle();
}

void ExportDialog::followRange() {
    if (framesByDefault() != m_defaultFrames) follow();
}

void ExportDialog::bring() {
    if (!isRunning()) settle();
    lookAgain();
    show();
    raise();
    activateWindow();
    emit changed();
}

void ExportDialog::makeProgress(QFormLayout& form) {
    m_bar = new QProgressBar(this);
    m_bar->setAccessibleName("Progress");
    m_text = new QLabel(this);
    m_text->setWordWrap(true);
    m_failures = new QPlainTextEdit(this);
    m_failures->setReadOnly(true);
    m_failures->setMaximumHeight(110);
    m_failures->setTabChangesFocus(true);
    m_failures->setAccessibleName("Failures and warnings");
    form.addRow(m_bar);
    form.addRow(m_text);
    form.addRow(m_failures);
}

QWidget* ExportDialog::makeButtons() {
    auto* const bar = new QWidget(this);
    auto* const row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    auto const button = [&](QString const& text, QString const& help, auto const& act) {
        auto* const made = new QPushButton(text, bar);
        made->setToolTip(help);
        made->setAutoDefault(false);
        connect(made, &QPushButton::clicked, this, act);
        row->addWidget(made);
        return made;
    };
    m_copy = button("Copy as Command", "Copy the `zelk render` line that writes the same files",
                    [this] { copyCommand(); });
    row->addStretch();
    m_cancel =
        button("Cancel Export", "Stop the export; the files written so far stay and are whole",
               [this] { cancel(); });
    m_close = button("Close", "An export that is under way goes on", [this] { reject(); });
    m_start = button("Export", "Render the frames to their files", [this] { start(); });
    m_start->setDefault(true);
    return bar;
}

ExportEdits ExportDialog::edits() const {
    ExportEdits edits;
    edits.output = m_output->text().trimmed().toStdString();
    QString const frames = m_frames->text().trimmed();
    edits.frames = (frames.isEmpty() ? m_defaultFrames : frames).toStdString();
    edits.codec = chosen(*m_codec);
    std::string const quality = m_quality->text().trimmed().toStdString();
    if (!quality.empty() && m_quality->isEnabled()) edits.quality = quality;
    edits.channels = chosen(*m_channels);
    edits.depth = chosen(*m_depth);
    edits.skipsExisting = m_skip->isChecked();
    edits.isShared = m_share->isChecked();
    return edits;
}

/// The files' history is the command that makes the same ones.
void ExportDialog::start() {
    if (isRunning()) return;
    auto const refusal = [this] {
        return failureOf([this] { exportedScene(*m_services.document, edits()); });
    };
    if (!refusal().isEmpty()) return refuse(refusal);
    tell({});
    ExportEdits const asked = edits();
    RunOptions run;
    run.history = exportCommandOf(*m_services.document, asked).line;
    if (asked.skipsExisting) run.skipExisting = SkipExisting::kWhole;
    run.isShared = asked.isShared;
    Scene scene = exportedScene(*m_services.document, asked);
    bool mayStart = true;
    if (!asked.skipsExisting && !asked.isShared) {
        QString const fault = failureOf([&] { mayStart = mayReplace(scene, run); });
        QString const fields = m_output->text() + "\n" + m_frames->text();
        if (!fault.isEmpty())
            return refuse([this, fault, fields] {
                return fields == m_output->text() + "\n" + m_frames->text() ? fault : QString();
            });
    }
    if (!mayStart) return;
    m_job = std::make_unique<ExportJob>(std::move(scene), std::move(run), [this] {
        QMetaObject::invokeMethod(
            this, [this] { showState(); }, Qt::QueuedConnection);
    });
    showState();
}

/// The sentence stays until there is no reason for it any more.
void ExportDialog::refuse(std::function<QString()> why) {
    m_refusal = std::move(why);
    lookAgain();
}

void ExportDialog::lookAgain() {
    if (!m_refusal) return;
    QString const why = m_refusal();
    if (why.isEmpty()) return tell({});
    m_said->setText(why);
    m_said->setStyleSheet("color: #ff8a80");
    m_said->setAccessibleName(why);
    m_said->show();
    makeRoom();
}

void ExportDialog::tell(QString const& sentence) {
    m_refusal = nullptr;
    m_said->setText(sentence);
    m_said->setStyleSheet({});
    m_said->setAccessibleName(sentence);
    m_said->setVisible(!sentence.isEmpty());
    makeRoom();
}

/// A sentence of several lines squeezes no field.
void ExportDialog::makeRoom() {
    layout()->activate();
    resize(width(), std::max(height(), heightForWidth(width())));
}

QString ExportDialog::said() const { return m_said->text(); }

/// A scene that was saved meanwhile can be written as a command, and may lie elsewhere.
bool ExportDialog::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) {
        showFields();
        lookAgain();
    }
    return QDialog::event(event);
}

void ExportDialog::hideEvent(QHideEvent* event) {
    QDialog::hideEvent(event);
    emit changed();
}

/// Asks where files are there; frames that are whole may stay.
bool ExportDialog::mayReplace(Scene const& scene, RunOptions& run) {
    std::size_t const there = filesThere(scene);
    if (there == 0) return true;
    bool const isOne = !isSequence(scene) || isMovieName(scene.outputPath());
    QString const name = QString::fromStdString(scene.outputPath().filename().string());
    QString const text =
        isOne ? name + " is there already."
              : QString("%1 of the files %2 are there already.").arg(there).arg(name);
    Answers choices = {"Replace"};
    if (!isOne) choices.append("Leave Out Whole Frames");
    int const answer = m_services.questions.choice(text, choices);
    if (answer == 1) run.skipExisting = SkipExisting::kWhole;
    return answer >= 0;
}

void ExportDialog::cancel() {
    if (m_job) m_job->stop();
}

bool ExportDialog::isRunning() const { return m_job && m_job->state().isRunning; }

void ExportDialog::reject() { hide(); }

void ExportDialog::askOutput() {
    auto const now = exportedFile(m_services.document->scene(), edits());
    QString const file = m_services.questions.fileToSave("Export To", textOf(now), pictureFilter());
    if (!file.isEmpty()) m_output->setText(file);
}

void ExportDialog::copyCommand() {
    auto const asked = [this] { return exportCommandOf(*m_services.document, edits()); };
    CommandText const text = asked();
    if (text.line.empty())
        return refuse([asked] { return QString::fromStdString(asked().refusal); });
    QGuiApplication::clipboard()->setText(QString::fromStdString(text.line));
    tell("Copied: " + QString::fromStdString(text.line));
}

/// A codec is a movie's. The tooltip has the full path, which the project's folder is part of.
void ExportDialog::showFields() {
    QString const file = textOf(exportedFile(m_services.document->scene(), edits()));
    m_output->setToolTip("The picture, numbered pictures or movie; its extension is the format" +
                         (file.isEmpty() ? "" : "\n" + file));
    bool const isMovie = containerOf(pathOf(m_output->text().trimmed())) != nullptr;
    m_codec->setEnabled(isMovie);
    m_quality->setEnabled(isMovie);
    m_channels->setEnabled(!isMovie);
}

void ExportDialog::showState() {
    bool const runs = isRunning();
    follow();  // what changed while frames were written
    ExportState const state = this->state();
    m_start->setEnabled(!runs);
    m_cancel->setEnabled(runs);
    m_bar->setVisible(m_job != nullptr);
    m_text->setVisible(m_job != nullptr);
    m_bar->setRange(0, std::max(state.count, runs ? 0 : 1));
    m_bar->setValue(runs || state.count > 0 ? state.ended : 0);
    std::string const place = runs ? "" : state.place();
    m_text->setText(QString::fromStdString(state.text() + (place.empty() ? "" : "\n" + place)));
    QStringList lines;
    for (ExportFailure const& failure : state.failures) lines.append(failureText(failure));
    for (std::string const& warning : state.warnings)
        lines.append("Warning: " + QString::fromStdString(warning));
    m_failures->setPlainText(lines.join("\n"));
    m_failures->setVisible(!lines.isEmpty());
    emit changed();
}

}  // namespace zelk
