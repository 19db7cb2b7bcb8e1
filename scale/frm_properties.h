#pragma once

#include "scale/comm_control.h"
#include "scale/terazi_comm.h"
#include <QDialog>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

class QComboBox;
class QLabel;
class QPushButton;
class QRadioButton;

namespace scale {

/// What the dialog needs from the screen it was opened from.
struct PropertiesDoors {
    PortFinder ports;                                                  ///< for showing the device of a port number
    std::function<void(const QString& key, const QString& text)> save; ///< a setting of section "Properties"
    std::function<void(const QString& text)> warn;                     ///< message box, exclamation icon
};

/// The settings of the scale's port: reads the control, applies the operator's choice to it and stores what the control
/// then reports. Nothing is applied or saved before "Tamam", which saves, then opens the port, then closes the dialog.
/// An assignment that the control rejects is shown with the error's own text and leaves the dialog open; a port that
/// does not open is not: the status line says why. Cancelling, by the button or by Esc, gives the control back the
/// number, settings, flow control and open state that it had when the dialog was loaded.
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

    void reject() override;

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

    CommControl& control_;
    PropertiesDoors doors_;
    int flow_ = 0;      ///< chosen flow-control mode
    bool echo_ = false; ///< stored only; every opening of the dialog starts with it off

    int portBefore_ = 0; ///< of the control when the dialog was loaded, as the next three
    QString settingsBefore_;
    int flowBefore_ = 0;
    bool openBefore_ = false;

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
};

/// The menu item `PortAyarlar`: closes the port, lets `show` run the dialog to its end, and gives the menu item's
/// caption for the state the port is in then. A failure in either step is passed over.
QString runPortSettings(CommControl& control, const std::function<void()>& show);

} // namespace scale
