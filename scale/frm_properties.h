#pragma once

#include "base/regional.h"
#include "scale/comm_control.h"
#include "scale/line_listener.h"
#include "scale/scale_finder.h"
#include <QDialog>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QPushButton;
class QRadioButton;
class QScrollArea;

namespace scale {

/// What the dialog needs from the screen it was opened from.
struct PropertiesDoors {
    PortFinder ports;                                                  ///< for showing the device of a port number
    std::function<void(const QString& key, const QString& text)> save; ///< a setting of section "Properties"
    std::function<void(const QString& text)> warn;                     ///< message box, exclamation icon
    ReadingChoice reading;                                             ///< as it is stored
    std::function<void(const ReadingChoice& choice)> readAs;           ///< from the control's next opening on
    base::Regional regional;                                           ///< what weights are shown by
    DeviceMaker devices; ///< to listen with while nothing is decided; none: it is not listened
};

/// The settings of the scale's port: reads the control, applies the operator's choice to it and stores what the control
/// then reports. Nothing is applied or saved before "Tamam", which saves, then opens the port, then closes the dialog.
/// An assignment that the control rejects is shown with the error's own text and leaves the dialog open; a port that
/// does not open is not: the status line says why. Cancelling, by the button or by Esc, gives the control back the
/// number, settings, flow control and open state that it had when the dialog was loaded.
///
/// Below that stands how the line is read, with a view of what arrives on the port that is chosen, and a button that
/// looks for a scale and fills the choice in. Both listen with a device of their own, from the moment the dialog is
/// shown, and leave the line before the control is touched.
///
/// On a screen that is too small for it the choices scroll; the buttons below them stay.
///
/// Every control carries its name as object name, those of a row of buttons with their index ("optFlow(0)").
class frmProperties : public QDialog {
    Q_OBJECT

public:
    /// The control must outlive the dialog.
    frmProperties(CommControl& control, PropertiesDoors doors, QWidget* parent = nullptr);

    /// Centres the dialog, fills the lists and presets them from the control. To be called once, before it is shown.
    /// Error 383 or 380 (base::errors) if the control reports something the lists do not have.
    void Form_Load();

    void cmdOK_Click();
    void cmdCancel_Click();
    void optFlow_Click(int Index);
    void optEcho_Click(int Index);

    void cboBicim_Click();
    void cmdBul_Click();

    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void build();
    void fill();
    void preset();
    bool applyPort();
    bool applySettings();
    bool applyFlow();
    void save();
    /// Shows an error, if there is one; true when there was.
    bool warned(const std::optional<base::RuntimeError>& error) const;
    void showDevice();
    void addList(QComboBox*& list, const QString& name, const QString& label, int row, int column);
    QWidget* readingGroup();
    void choiceChanged();
    QString chosenSettings() const;
    static int entryOf(const LineFormat* format);
    LineTrial chosen() const;
    ReadingChoice chosenReading() const;
    /// Listens to what is chosen now, if somebody is looking; what was heard of another choice is forgotten.
    void listenAgain();
    void leaveTheLine();
    void showWhatArrives();
    void takeFound(const FoundScale& found);

    CommControl& control_;
    PropertiesDoors doors_;
    int flow_ = 0;      ///< chosen flow-control mode
    bool echo_ = false; ///< stored only; every opening of the dialog starts with it off

    int portBefore_ = 0; ///< of the control when the dialog was loaded, as the next three
    QString settingsBefore_;
    int flowBefore_ = 0;
    bool openBefore_ = false;

    QScrollArea* choices_ = nullptr; ///< everything but the buttons
    QGridLayout* lists_ = nullptr;
    QComboBox* cboPort = nullptr;
    QComboBox* cboSpeed = nullptr;
    QComboBox* cboDataBits = nullptr;
    QComboBox* cboParity = nullptr;
    QComboBox* cboStopBits = nullptr;
    std::vector<QRadioButton*> optFlow;
    std::vector<QRadioButton*> optEcho;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;
    QLabel* device_ = nullptr;

    QComboBox* cboBicim = nullptr;
    QCheckBox* chkDuran = nullptr;
    QPushButton* cmdBul = nullptr;
    QLabel *gelen_ = nullptr, *bayt_ = nullptr, *tanınan_ = nullptr, *ekranda_ = nullptr; ///< the live view
    QLabel* bulunan_ = nullptr;                                                           ///< what "Terazi Bul" says
    std::unique_ptr<LineListener> listener_;
    std::unique_ptr<ScaleFinder> finder_;
    QTimer listening_{this}; ///< a choice just made may be followed by the next
};

/// The menu item `PortAyarlar`: closes the port, lets `show` run the dialog to its end, and gives the menu item's
/// caption for the state the port is in then. A failure in either step is passed over.
QString runPortSettings(CommControl& control, const std::function<void()>& show);

} // namespace scale
