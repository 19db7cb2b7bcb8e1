#include "scale/frm_properties.h"

#include "base/letters.h"
#include "base/pass_over.h"
#include "scale/line_settings.h"
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QVBoxLayout>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace scale {

using base::passOver;

namespace {

constexpr int touchHeight = 48; ///< pixels: what a finger hits without looking twice
constexpr int portCount = 16;

QComboBox* dropDownList(const QString& name, QWidget* parent)
{
    auto* const list = new QComboBox(parent);
    list->setObjectName(name);
    list->setMinimumHeight(touchHeight);
    list->setMaxVisibleItems(8);
    return list;
}

void addEntries(QComboBox* list, const QStringList& entries)
{
    list->clear();
    for (const QString& entry : entries) {
        list->addItem(entry);
        list->setItemData(list->count() - 1, QSize(0, touchHeight), Qt::SizeHintRole);
    }
    list->setCurrentIndex(-1);
}

/// A list takes no text that is not one of its entries.
void chooseText(QComboBox* list, const QString& text)
{
    const int index = list->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (index < 0) throw base::runtimeError(base::errors::readOnlyText);
    list->setCurrentIndex(index);
}

void chooseIndex(QComboBox* list, int index)
{
    if (index < -1 || index >= list->count()) throw commError(base::errors::invalidProperty);
    list->setCurrentIndex(index);
}

QGroupBox* optionGroup(const QString& title, const QString& name, const QStringList& captions,
                       std::vector<QRadioButton*>& options, QWidget* parent)
{
    auto* const group = new QGroupBox(title, parent);
    auto* const row = new QHBoxLayout(group);
    for (const QString& caption : captions) {
        auto* const option = new QRadioButton(caption, group);
        option->setObjectName(u"%1(%2)"_s.arg(name).arg(options.size()));
        option->setMinimumSize(2 * touchHeight, touchHeight);
        row->addWidget(option);
        options.push_back(option);
    }
    row->addStretch();
    return group;
}

QString portText(int number) { return u"Com"_s + QString::number(number); }

} // namespace

frmProperties::frmProperties(CommControl& control, PropertiesDoors doors, QWidget* parent)
    : QDialog(parent), control_(control), doors_(std::move(doors))
{
    setObjectName(u"frmProperties"_s);
    setWindowTitle(u"Port Ayarları"_s);
    build();
}

void frmProperties::build()
{
    auto* const lists = new QFormLayout;
    const auto add = [&](QComboBox*& list, const QString& name, const QString& label) {
        list = dropDownList(name, this);
        list->setAccessibleName(label);
        auto* const caption = new QLabel(label, this);
        caption->setMinimumHeight(touchHeight); // in the middle of its row
        caption->setBuddy(list);
        lists->addRow(caption, list);
    };
    add(cboPort, u"cboPort"_s, u"Bağlantı noktası"_s);
    device_ = new QLabel(this);
    device_->setTextFormat(Qt::PlainText);
    lists->addRow(QString(), device_);
    add(cboSpeed, u"cboSpeed"_s, u"Hız"_s);
    add(cboDataBits, u"cboDataBits"_s, u"Veri bitleri"_s);
    add(cboParity, u"cboParity"_s, u"Eşlik"_s);
    add(cboStopBits, u"cboStopBits"_s, u"Dur bitleri"_s);

    auto* const flow =
        optionGroup(u"Akış denetimi"_s, u"optFlow"_s, {u"Yok"_s, u"Xon/Xoff"_s, u"RTS"_s, u"Xon/RTS"_s}, optFlow, this);
    auto* const echo = optionGroup(u"Yankı"_s, u"optEcho"_s, {u"Kapalı"_s, u"Açık"_s}, optEcho, this);

    const auto button = [this](const QString& name, const QString& caption) {
        auto* const made = new QPushButton(caption, this);
        made->setObjectName(name);
        made->setMinimumSize(3 * touchHeight, touchHeight);
        return made;
    };
    cmdOK = button(u"cmdOK"_s, u"Tamam"_s);
    cmdOK->setDefault(true);
    cmdCancel = button(u"cmdCancel"_s, u"İptal"_s);
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);

    auto* const rows = new QVBoxLayout(this);
    rows->addLayout(lists);
    rows->addWidget(flow);
    rows->addWidget(echo);
    rows->addLayout(buttons);

    for (std::size_t i = 0; i < optFlow.size(); ++i)
        connect(optFlow[i], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on) optFlow_Click(static_cast<int>(i));
        });
    for (std::size_t i = 0; i < optEcho.size(); ++i)
        connect(optEcho[i], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on) optEcho_Click(static_cast<int>(i));
        });
    connect(cboPort, &QComboBox::currentIndexChanged, this, &frmProperties::showDevice);
    connect(cmdOK, &QPushButton::clicked, this, &frmProperties::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmProperties::cmdCancel_Click);
}

void frmProperties::Form_Load()
{
    portBefore_ = control_.commPort();
    settingsBefore_ = control_.settings();
    flowBefore_ = control_.handshaking();
    openBefore_ = control_.portOpen();
    fill();
    preset();
    // Only now: the name of the chosen port's device may need more room.
    adjustSize();
    const QRect area = screen()->geometry();
    move(area.left() + (area.width() - width()) / 2, area.top() + (area.height() - height()) / 2);
}

void frmProperties::fill()
{
    QStringList ports;
    for (int number = 1; number <= portCount; ++number) ports += portText(number);
    addEntries(cboPort, ports);
    for (int number = 1; number <= portCount; ++number) {
        const auto device = doors_.ports(number);
        cboPort->setItemData(number - 1, device ? shownDevice(device->path) : u"Bağlı aygıt yok"_s, Qt::ToolTipRole);
    }
    QStringList rates;
    for (const int speed : speeds) rates += QString::number(speed);
    addEntries(cboSpeed, rates);
    addEntries(cboDataBits, {u"4"_s, u"5"_s, u"6"_s, u"7"_s, u"8"_s});
    addEntries(cboParity, {u"Even"_s, u"Odd"_s, u"None"_s, u"Mark"_s, u"Space"_s});
    addEntries(cboStopBits, {u"1"_s, u"1.5"_s, u"2"_s});
}

void frmProperties::preset()
{
    // The tail is taken to be a comma, the parity letter, a comma, the data bits, a comma and the stop bits.
    const QString s = control_.settings();
    const qsizetype length = s.size();
    const qsizetype d = s.contains(u'.') ? 2 : 0;
    chooseText(cboSpeed, s.left(length - 6 - d));
    const int parity = static_cast<int>(u"eonms"_s.indexOf(s.mid(length - 5 - d, 1)));
    if (parity >= 0) cboParity->setCurrentIndex(parity);
    chooseText(cboDataBits, s.mid(length - 3 - d, 1));
    chooseText(cboStopBits, s.right(1 + d));
    chooseIndex(cboPort, control_.commPort() - 1);

    // The index is set by hand as well: choosing a button that is chosen already clicks nothing.
    flow_ = control_.handshaking();
    optFlow.at(static_cast<std::size_t>(flow_))->setChecked(true);
    optEcho[echo_ ? 1 : 0]->setChecked(true);
}

void frmProperties::showDevice()
{
    const QString device = cboPort->currentData(Qt::ToolTipRole).toString();
    cboPort->setToolTip(device);
    device_->setText(device);
}

void frmProperties::optFlow_Click(int Index) { flow_ = Index; }

void frmProperties::optEcho_Click(int Index) { echo_ = Index == 1; }

void frmProperties::cmdCancel_Click() { reject(); }

void frmProperties::reject()
{
    // A refused "Tamam" may have left some of its choices behind.
    if (control_.commPort() != portBefore_) {
        if (control_.portOpen()) passOver([this] { control_.setPortOpen(false); });
        passOver([this] { control_.setCommPort(portBefore_); });
    }
    if (control_.settings() != settingsBefore_) passOver([this] { control_.setSettings(settingsBefore_); });
    if (control_.handshaking() != flowBefore_) passOver([this] { control_.setHandshaking(flowBefore_); });
    if (control_.portOpen() != openBefore_) passOver([this] { control_.setPortOpen(openBefore_); });
    QDialog::reject();
}

void frmProperties::cmdOK_Click()
{
    if (!applyPort() || !applySettings() || !applyFlow()) return;
    save();
    // Always, whatever the port was before the dialog. One that does not open is told by the status line.
    passOver([this] { control_.setPortOpen(true); });
    accept();
}

bool frmProperties::applyPort()
{
    const int before = control_.commPort();
    const int chosen = cboPort->currentIndex() + 1;
    if (chosen == before) return true;

    const bool wasOpen = control_.portOpen();
    const auto closing = wasOpen ? passOver([this] { control_.setPortOpen(false); }) : std::nullopt;
    auto error = passOver([&] { control_.setCommPort(chosen); });
    if (!error) error = closing;
    if (!error && wasOpen) error = passOver([this] { control_.setPortOpen(true); });
    if (!warned(error)) return true;
    passOver([&] { control_.setCommPort(before); });
    return false;
}

bool frmProperties::applySettings()
{
    return !warned(passOver([this] {
        control_.setSettings(base::trimBlanks(cboSpeed->currentText()) + u',' + cboParity->currentText().left(1) +
                             u',' + base::trimBlanks(cboDataBits->currentText()) + u',' +
                             base::trimBlanks(cboStopBits->currentText()));
    }));
}

bool frmProperties::applyFlow()
{
    return !warned(passOver([this] { control_.setHandshaking(flow_); }));
}

void frmProperties::save()
{
    // What the control reports, not what the lists say: the stored string is one that it accepted.
    const std::pair<QString, QString> texts[] = {
        {u"Settings"_s, control_.settings()},
        {u"CommPort"_s, QString::number(control_.commPort())},
        {u"Handshaking"_s, QString::number(control_.handshaking())},
        {u"Echo"_s, echo_ ? u"True"_s : u"False"_s},
    };
    std::optional<base::RuntimeError> last;
    for (const auto& entry : texts)
        if (auto error = passOver([&] { doors_.save(entry.first, entry.second); })) last = std::move(error);
    warned(last); // the choice is in force, but it will be gone after the next start: that must not go unsaid
}

bool frmProperties::warned(const std::optional<base::RuntimeError>& error) const
{
    if (error) doors_.warn(error->text());
    return error.has_value();
}

QString runPortSettings(CommControl& control, const std::function<void()>& show)
{
    if (control.portOpen()) passOver([&] { control.setPortOpen(false); });
    passOver(show);
    return control.portOpen() ? u"Port Ayar Com="_s + QString::number(control.commPort()) : u"Port Ayarları"_s;
}

} // namespace scale
