#pragma once

#include "engine/runoptions.h"
#include "photolist/admission.h"
#include "ui/settings.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QSlider;
class QSpinBox;

namespace pivotel {

// The "Preferences" tab: how photos are taken in and how a run treats them. The controls are
// the store of the options; a run freezes them when it starts.
class OptionsPanel : public QWidget {
    Q_OBJECT
  public:
    explicit OptionsPanel(QWidget* parent = nullptr);

    // Puts stored options into the controls, in the order that lets the lossless box grey the
    // quality controls and the slider follow the field.
    void applysettings(const Settings& settings);
    Settings settings() const;

    // Holds the quality field to a number from 10 to 100 ("70" for text that is no number),
    // writes it back to the field and the slider, and answers it.
    int clampquality();
    // The options frozen for a run; the quality as the field holds it after clampquality().
    RunOptions runoptions() const;
    // The two intake options.
    AdmissionOptions admissionoptions() const;

  signals:
    // One of the two intake options has changed.
    void admissionchanged();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void uselosslessrotation_ValueChanged();
    void qualityslider_ValueChanged(int value);
    void jpgquality_KeyUp();
    void jpgquality_FocusLost();

    QCheckBox* useexiforientation_;
    QCheckBox* onlyloadwhenneeded_;
    QCheckBox* uselosslessrotation_;
    QLabel* lbljpegquality_;
    QSlider* qualityslider_;
    QLineEdit* jpgquality_;
    QCheckBox* normalprocessall_;
    QCheckBox* preserveDATES_;
    QLabel* lbloddsizes_;
    QComboBox* oddsizes_;
    QLabel* lblparallel_;
    QSpinBox* parallel_;
};

} // namespace pivotel
