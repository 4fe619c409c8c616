#include "ui/optionspanel.h"

#include "support/machine.h"
#include "support/xnumber.h"
#include "ui/qualityrule.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>
#include <cmath>

namespace pivotel {

namespace {

QFont boldfont(const QWidget* widget) {
    QFont font = widget->font();
    font.setBold(true);
    return font;
}

QCheckBox* checkbox(QWidget* parent, const char* name, const QString& caption) {
    auto* box = new QCheckBox(caption, parent);
    box->setObjectName(QLatin1String(name));
    box->setFont(boldfont(box));
    // A caption is never cut: the panel widens instead.
    box->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    return box;
}

} // namespace

OptionsPanel::OptionsPanel(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("optionspanel"));
    useexiforientation_ =
        checkbox(this, "useexiforientation", QStringLiteral("Use EXIF (Camera Settings) Orientation"));
    onlyloadwhenneeded_ =
        checkbox(this, "onlyloadwhenneeded", QStringLiteral("Only Load Photos That Needs to be Rotated"));
    uselosslessrotation_ = checkbox(this, "uselosslessrotation", QStringLiteral("Use Lossless Rotation"));

    lbljpegquality_ = new QLabel(QStringLiteral("JPEG Quality %"), this);
    lbljpegquality_->setObjectName(QStringLiteral("lbljpegquality"));
    lbljpegquality_->setFont(boldfont(lbljpegquality_));
    lbljpegquality_->setEnabled(false);

    qualityslider_ = new QSlider(Qt::Horizontal, this);
    qualityslider_->setObjectName(QStringLiteral("qualityslider"));
    qualityslider_->setRange(minimumquality, maximumquality);
    qualityslider_->setValue(75);
    qualityslider_->setSingleStep(1);
    qualityslider_->setPageStep(20);
    qualityslider_->setTickPosition(QSlider::TicksBelow);
    qualityslider_->setTickInterval(5);
    qualityslider_->setTracking(true);
    qualityslider_->setAccessibleName(QStringLiteral("JPEG quality"));
    qualityslider_->setAccessibleDescription(QStringLiteral("Quality of re-encoded photos, 10 to 100"));

    jpgquality_ = new QLineEdit(QStringLiteral("75"), this);
    jpgquality_->setObjectName(QStringLiteral("jpgquality"));
    jpgquality_->setFixedWidth(45);
    jpgquality_->setAccessibleName(QStringLiteral("JPEG quality"));
    jpgquality_->setAccessibleDescription(QStringLiteral("Quality of re-encoded photos, 10 to 100"));
    QPalette fieldcolours = jpgquality_->palette();
    fieldcolours.setColor(QPalette::Base, Qt::white);
    fieldcolours.setColor(QPalette::Text, Qt::black);
    jpgquality_->setPalette(fieldcolours);
    jpgquality_->installEventFilter(this);

    normalprocessall_ = checkbox(this, "normalprocessall",
                                 QStringLiteral("Process All Photos on the List (Normal Rotation)"));
    preserveDATES_ = checkbox(this, "preserveDATES", QStringLiteral("Preserve File Dates"));

    // Lossless turns only; a compact row under the other options, which stay where they were.
    lbloddsizes_ = new QLabel(QStringLiteral("Odd Sizes"), this);
    lbloddsizes_->setObjectName(QStringLiteral("lbloddsizes"));
    lbloddsizes_->setFont(boldfont(lbloddsizes_));
    oddsizes_ = new QComboBox(this);
    oddsizes_->setObjectName(QStringLiteral("oddsizes"));
    oddsizes_->addItem(QStringLiteral("Trim"), int(OddSizes::Trim));
    oddsizes_->addItem(QStringLiteral("Re-encode"), int(OddSizes::Reencode));
    oddsizes_->addItem(QStringLiteral("Keep"), int(OddSizes::Keep));
    oddsizes_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    oddsizes_->setToolTip(QStringLiteral(
        "A lossless turn can't move a partial block of pixels to the top or left edge. For a photo "
        "whose size isn't whole blocks there: Trim drops that edge (at most 15 pixels), Re-encode "
        "turns that photo exactly at its own quality, Keep leaves the edge unturned."));
    lbloddsizes_->setBuddy(oddsizes_);
    oddsizes_->setAccessibleName(QStringLiteral("Odd Sizes"));
    // Built as the lossless box is, unchecked.
    lbloddsizes_->setEnabled(false);
    oddsizes_->setEnabled(false);

    // Either way of turning; 0 stands for one photo per core of the machine it runs on.
    lblparallel_ = new QLabel(QStringLiteral("Parallel"), this);
    lblparallel_->setObjectName(QStringLiteral("lblparallel"));
    lblparallel_->setFont(boldfont(lblparallel_));
    parallel_ = new QSpinBox(this);
    parallel_->setObjectName(QStringLiteral("parallel"));
    parallel_->setRange(0, maxjobs);
    parallel_->setSpecialValueText(QStringLiteral("All Cores"));
    parallel_->setToolTip(
        QStringLiteral("How many photos a run turns at once: all cores of this machine (%1), "
                       "or fewer to leave some for other work.")
            .arg(corecount()));
    lblparallel_->setBuddy(parallel_);

    auto* quality = new QHBoxLayout;
    quality->setContentsMargins(6, 0, 0, 0);
    quality->addWidget(lbljpegquality_);
    quality->addWidget(qualityslider_, 1);
    quality->addWidget(jpgquality_);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(6, 6, 6, 6);
    column->setSpacing(2);
    column->addWidget(useexiforientation_);
    column->addWidget(onlyloadwhenneeded_);
    column->addWidget(uselosslessrotation_);
    column->addLayout(quality);
    column->addWidget(normalprocessall_);
    column->addWidget(preserveDATES_);
    auto* oddsizes = new QHBoxLayout;
    oddsizes->setContentsMargins(6, 4, 0, 0);
    oddsizes->addWidget(lbloddsizes_);
    oddsizes->addWidget(oddsizes_);
    oddsizes->addSpacing(12);
    oddsizes->addWidget(lblparallel_);
    oddsizes->addWidget(parallel_);
    oddsizes->addStretch(1);
    column->addLayout(oddsizes);
    column->addStretch(1);

    for (QCheckBox* box : {useexiforientation_, onlyloadwhenneeded_})
        connect(box, &QCheckBox::toggled, this, &OptionsPanel::admissionchanged);
    setTabOrder(useexiforientation_, onlyloadwhenneeded_);
    setTabOrder(onlyloadwhenneeded_, uselosslessrotation_);
    setTabOrder(uselosslessrotation_, qualityslider_);
    setTabOrder(qualityslider_, jpgquality_);
    setTabOrder(jpgquality_, normalprocessall_);
    setTabOrder(normalprocessall_, preserveDATES_);
    setTabOrder(preserveDATES_, oddsizes_);
    setTabOrder(oddsizes_, parallel_);

    connect(uselosslessrotation_, &QCheckBox::toggled, this, [this] { uselosslessrotation_ValueChanged(); });
    connect(qualityslider_, &QSlider::valueChanged, this,
            [this](int value) { qualityslider_ValueChanged(value); });
    connect(jpgquality_, &QLineEdit::textEdited, this, [this] { jpgquality_KeyUp(); });
}

void OptionsPanel::applysettings(const Settings& settings) {
    onlyloadwhenneeded_->setChecked(settings.onlyloadwhenneeded);
    preserveDATES_->setChecked(settings.preservedates);
    normalprocessall_->setChecked(settings.normalprocessall);
    useexiforientation_->setChecked(settings.useexiforientation);
    jpgquality_->setText(settings.jpgquality);
    oddsizes_->setCurrentIndex(oddsizes_->findData(int(settings.oddsizes)));
    parallel_->setValue(settings.parallel);
    // Greys or frees the quality controls through its change handler, when it changes.
    uselosslessrotation_->setChecked(settings.uselosslessrotation);
    qualityslider_->setValue(static_cast<int>(std::trunc(leadingvalue(jpgquality_->text()))));
}

Settings OptionsPanel::settings() const {
    Settings settings;
    settings.onlyloadwhenneeded = onlyloadwhenneeded_->isChecked();
    settings.preservedates = preserveDATES_->isChecked();
    settings.normalprocessall = normalprocessall_->isChecked();
    settings.useexiforientation = useexiforientation_->isChecked();
    settings.uselosslessrotation = uselosslessrotation_->isChecked();
    settings.jpgquality = jpgquality_->text();
    settings.oddsizes = OddSizes(oddsizes_->currentData().toInt());
    settings.parallel = parallel_->value();
    return settings;
}

int OptionsPanel::clampquality() {
    const int quality = clampedquality(jpgquality_->text());
    jpgquality_->setText(QString::number(quality));
    qualityslider_->setValue(quality);
    return quality;
}

RunOptions OptionsPanel::runoptions() const {
    RunOptions options;
    options.quality = clampedquality(jpgquality_->text());
    options.uselosslessrotation = uselosslessrotation_->isChecked();
    options.normalprocessall = normalprocessall_->isChecked();
    options.preservedates = preserveDATES_->isChecked();
    options.oddsizes = OddSizes(oddsizes_->currentData().toInt());
    options.jobs = parallel_->value();
    return options;
}

AdmissionOptions OptionsPanel::admissionoptions() const {
    return {useexiforientation_->isChecked(), onlyloadwhenneeded_->isChecked()};
}

bool OptionsPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == jpgquality_ && event->type() == QEvent::FocusOut)
        jpgquality_FocusLost();
    return QWidget::eventFilter(watched, event);
}

void OptionsPanel::uselosslessrotation_ValueChanged() {
    // Lossless turns re-encode nothing, so the quality and the re-encode-everything choice
    // have no meaning then. Their values stay as they are.
    const bool enabled = !uselosslessrotation_->isChecked();
    qualityslider_->setEnabled(enabled);
    normalprocessall_->setEnabled(enabled);
    jpgquality_->setEnabled(enabled);
    lbljpegquality_->setEnabled(enabled);
    // A re-encoding keeps every pixel whatever the size: odd sizes matter to lossless turns only.
    lbloddsizes_->setEnabled(!enabled);
    oddsizes_->setEnabled(!enabled);
}

void OptionsPanel::qualityslider_ValueChanged(int value) {
    const QString text = QString::number(value);
    if (jpgquality_->text() != text)
        jpgquality_->setText(text);
}

void OptionsPanel::jpgquality_KeyUp() {
    if (const auto quality = typedquality(jpgquality_->text()))
        qualityslider_->setValue(*quality);
}

void OptionsPanel::jpgquality_FocusLost() {
    jpgquality_->setText(QString::number(clampedquality(jpgquality_->text())));
    qualityslider_->setValue(static_cast<int>(std::trunc(leadingvalue(jpgquality_->text()))));
}

} // namespace pivotel
