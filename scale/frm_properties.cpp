#include "scale/frm_properties.h"

#include "base/flag_text.h"
#include "base/letters.h"
#include "base/pass_over.h"
#include "scale/formats/format_table.h"
#include "scale/line_settings.h"
#include "scale/setting_keys.h"
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace scale {

using base::passOver;

namespace {

constexpr int portCount = 16;
constexpr int usualText = 17; ///< pixels, on the smallest screen that the counter is made for

/// Letters as large as on the screen behind, in pixels; so that the dialog still fits into it.
int textFor(const QWidget* screen)
{
    constexpr int linesOfHeight = 45; // 768 / 17
    constexpr int linesOfWidth = 60;  // 1024 / 17
    if (!screen) return usualText;
    return std::max(usualText, std::min(screen->height() / linesOfHeight, screen->width() / linesOfWidth));
}

/// What a finger hits without looking twice: 48 pixels where letters have 17.
int touchFor(const QWidget* control)
{
    constexpr int usualTouch = 48;
    return std::max(usualTouch, usualTouch * control->fontInfo().pixelSize() / usualText);
}

/// A wheel that scrolls what it stands in changes no choice unseen.
class ChoiceList : public QComboBox {
public:
    using QComboBox::QComboBox;

protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

QComboBox* dropDownList(const QString& name, QWidget* parent)
{
    auto* const list = new ChoiceList(parent);
    list->setObjectName(name);
    list->setMinimumHeight(touchFor(parent->window()));
    list->setMaxVisibleItems(8);
    return list;
}

void addEntries(QComboBox* list, const QStringList& entries)
{
    list->clear();
    for (const QString& entry : entries) {
        list->addItem(entry);
        list->setItemData(list->count() - 1, QSize(0, touchFor(list->window())), Qt::SizeHintRole);
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
        option->setMinimumSize(2 * touchFor(parent->window()), touchFor(parent->window()));
        row->addWidget(option);
        options.push_back(option);
    }
    row->addStretch();
    return group;
}

/// For texts that come from elsewhere and may be long: they must not make the dialog wider.
QLabel* plainLabel(QWidget* parent)
{
    auto* const label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

/// What the system draws around the window behind it will draw around a dialog, too.
QSize frameOf(const QWidget* behind)
{
    return behind ? behind->window()->frameGeometry().size() - behind->window()->geometry().size() : QSize(0, 0);
}

/// Wants the room of what it holds, and scrolls where it does not get it.
class RoomFor : public QScrollArea {
public:
    RoomFor(QWidget* content, QWidget* parent) : QScrollArea(parent)
    {
        setWidget(content);
        setWidgetResizable(true);
        setFrameShape(QFrame::NoFrame);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    }

    QSize sizeHint() const override { return widget()->sizeHint(); }
    QSize minimumSizeHint() const override { return {widget()->minimumSizeHint().width(), touchFor(this)}; }
};

/// What "Terazi Bul" says of a scale.
QString sentenceOf(const FoundScale& scale)
{
    const QString where = u"Com%1, %2"_s.arg(scale.port).arg(scale.settings.text());
    const QString weight = scale.weight.isEmpty() ? QString() : u": %1 kg"_s.arg(scale.weight);
    if (!scale.candidates.empty())
        return u"%1%2. Birden çok biçime uyuyor, yükü değiştirip yeniden arayın: %3"_s.arg(where, weight,
                                                                                           titlesOf(scale.candidates));
    const QString format = scale.format ? titleOf(*scale.format) : u"Olduğu gibi"_s;
    return where + u", "_s + format + weight + (scale.sure ? QString() : u". Bir yük koyup karşılaştırın."_s);
}

QString portText(int number) { return u"Com"_s + QString::number(number); }

} // namespace

frmProperties::frmProperties(CommControl& control, PropertiesDoors doors, QWidget* parent)
    : QDialog(parent), control_(control), doors_(std::move(doors))
{
    setObjectName(u"frmProperties"_s);
    setWindowTitle(u"Port Ayarları"_s);
    const int letters = textFor(parent);
    QFont usual = font();
    usual.setPixelSize(letters);
    setFont(usual);
    // A till screen may run without a window manager, that is without window frames. Under a style sheet controls do
    // not take over the dialog's font, so their letters stand in it as well.
    setStyleSheet(u"#frmProperties{border:2px solid #003C5A;} QWidget{font-size:%1px;}"
                  "QScrollBar:vertical{width:%2px;}"_s.arg(letters)
                      .arg(touchFor(this)));
    listening_.setSingleShot(true);
    listening_.setInterval(100ms);
    connect(&listening_, &QTimer::timeout, this, &frmProperties::listenAgain);
    build();
}

void frmProperties::build()
{
    lists_ = new QGridLayout;
    addList(cboPort, u"cboPort"_s, u"Bağlantı noktası"_s, 0, 0);
    device_ = plainLabel(this);
    lists_->addWidget(device_, 0, 2, 1, 2);
    addList(cboSpeed, u"cboSpeed"_s, u"Hız"_s, 1, 0);
    addList(cboDataBits, u"cboDataBits"_s, u"Veri bitleri"_s, 1, 2);
    addList(cboParity, u"cboParity"_s, u"Eşlik"_s, 2, 0);
    addList(cboStopBits, u"cboStopBits"_s, u"Dur bitleri"_s, 2, 2);
    lists_->setColumnStretch(1, 1);
    lists_->setColumnStretch(3, 1);

    auto* const flow =
        optionGroup(u"Akış denetimi"_s, u"optFlow"_s, {u"Yok"_s, u"Xon/Xoff"_s, u"RTS"_s, u"Xon/RTS"_s}, optFlow, this);
    auto* const echo = optionGroup(u"Yankı"_s, u"optEcho"_s, {u"Kapalı"_s, u"Açık"_s}, optEcho, this);

    const auto button = [this](const QString& name, const QString& caption) {
        auto* const made = new QPushButton(caption, this);
        made->setObjectName(name);
        made->setMinimumSize(3 * touchFor(this), touchFor(this));
        QFont bold = font();
        bold.setBold(true);
        made->setFont(bold);
        return made;
    };
    cmdOK = button(u"cmdOK"_s, u"Tamam"_s);
    cmdOK->setDefault(true);
    cmdCancel = button(u"cmdCancel"_s, u"İptal"_s);
    cmdBul = button(u"cmdBul"_s, u"Terazi Bul"_s);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(cmdBul);
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);

    auto* const groups = new QHBoxLayout;
    groups->addWidget(flow);
    groups->addWidget(echo);
    auto* const choices = new QWidget(this);
    auto* const rows = new QVBoxLayout(choices);
    rows->setContentsMargins({});
    rows->addLayout(lists_);
    rows->addLayout(groups);
    rows->addWidget(readingGroup());
    auto* const whole = new QVBoxLayout(this);
    choices_ = new RoomFor(choices, this);
    whole->addWidget(choices_);
    whole->addLayout(buttons);

    for (std::size_t i = 0; i < optFlow.size(); ++i)
        connect(optFlow[i], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on) optFlow_Click(static_cast<int>(i));
        });
    for (std::size_t i = 0; i < optEcho.size(); ++i)
        connect(optEcho[i], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on) optEcho_Click(static_cast<int>(i));
        });
    connect(cboPort, &QComboBox::currentIndexChanged, this, &frmProperties::showDevice);
    for (QComboBox* list : {cboPort, cboSpeed, cboDataBits, cboParity, cboStopBits, cboBicim})
        connect(list, &QComboBox::currentIndexChanged, this, &frmProperties::choiceChanged);
    connect(cboBicim, &QComboBox::currentIndexChanged, this, &frmProperties::cboBicim_Click);
    connect(chkDuran, &QCheckBox::toggled, this, &frmProperties::choiceChanged);
    connect(cmdBul, &QPushButton::clicked, this, &frmProperties::cmdBul_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmProperties::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmProperties::cmdCancel_Click);
}

void frmProperties::addList(QComboBox*& list, const QString& name, const QString& label, int row, int column)
{
    list = dropDownList(name, this);
    list->setAccessibleName(label);
    auto* const caption = new QLabel(label, this);
    caption->setBuddy(list);
    lists_->addWidget(caption, row, column);
    lists_->addWidget(list, row, column + 1);
}

/// How the line is read, and what arrives.
QWidget* frmProperties::readingGroup()
{
    auto* const group = new QGroupBox(u"Gelen satırlar"_s, this);
    auto* const grid = new QGridLayout(group);
    cboBicim = dropDownList(u"cboBicim"_s, group);
    auto* const caption = new QLabel(u"Terazi biçimi"_s, group);
    caption->setBuddy(cboBicim);
    cboBicim->setAccessibleName(caption->text());
    chkDuran = new QCheckBox(u"Yalnız duran tartım"_s, group);
    chkDuran->setObjectName(u"chkDuran"_s);
    chkDuran->setMinimumHeight(touchFor(this));
    grid->addWidget(caption, 0, 0);
    grid->addWidget(cboBicim, 0, 1);
    grid->addWidget(chkDuran, 0, 2);
    int row = 1;
    const auto add = [&](QLabel*& label, const QString& name, const QString& text) {
        label = plainLabel(group);
        label->setObjectName(name);
        label->setAccessibleName(text);
        grid->addWidget(new QLabel(text, group), row, 0);
        grid->addWidget(label, row, 1, 1, 2);
        ++row;
    };
    add(gelen_, u"gelen"_s, u"Metin"_s);
    add(bayt_, u"bayt"_s, u"Baytlar"_s);
    add(tanınan_, u"taninan"_s, u"Tanınan"_s);
    add(ekranda_, u"ekranda"_s, u"Ekranda"_s);
    add(bulunan_, u"bulunan"_s, u"Bulunan"_s);
    bulunan_->setWordWrap(true);
    bulunan_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    bulunan_->setMinimumHeight(2 * bulunan_->fontMetrics().lineSpacing());
    grid->setColumnStretch(1, 1);
    return group;
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
    ensurePolished();
    const QRect room = screen()->availableGeometry();
    const QSize frame = frameOf(parentWidget());
    const QSize most = room.size() - frame;
    QSize wanted = sizeHint();
    if (wanted.height() > most.height()) wanted.rwidth() += choices_->verticalScrollBar()->sizeHint().width();
    resize(wanted.boundedTo(most));
    const QRect area = screen()->geometry();
    const int top = area.top() + (area.height() - height()) / 2;
    move(area.left() + (area.width() - width()) / 2,
         std::max(room.top(), std::min(top, room.bottom() + 1 - frame.height() - height())));
}

void frmProperties::fill()
{
    QStringList ports;
    for (int number = 1; number <= portCount; ++number) ports += portText(number);
    addEntries(cboPort, ports);
    for (int number = 1; number <= portCount; ++number) {
        const auto device = doors_.ports(number);
        cboPort->setItemData(number - 1, device ? titleOfDevice(device->path) : u"Bağlı aygıt yok"_s, Qt::ToolTipRole);
    }
    QStringList rates;
    for (const int speed : speeds) rates += QString::number(speed);
    addEntries(cboSpeed, rates);
    addEntries(cboDataBits, {u"4"_s, u"5"_s, u"6"_s, u"7"_s, u"8"_s});
    addEntries(cboParity, {u"Even"_s, u"Odd"_s, u"None"_s, u"Mark"_s, u"Space"_s});
    addEntries(cboStopBits, {u"1"_s, u"1.5"_s, u"2"_s});
    QStringList titles{u"Olduğu gibi"_s};
    for (const LineFormat& format : lineFormats()) titles += titleOf(format);
    addEntries(cboBicim, titles);
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

    cboBicim->setCurrentIndex(entryOf(formatOf(doors_.reading)));
    chkDuran->setChecked(doors_.reading.stillOnly);
    cboBicim_Click();
}

int frmProperties::entryOf(const LineFormat* format)
{
    return format ? 1 + static_cast<int>(format - lineFormats().data()) : 0;
}

ReadingChoice frmProperties::chosenReading() const
{
    const int entry = cboBicim->currentIndex();
    if (entry <= 0) return {};
    return {QString::fromStdString(lineFormats().at(static_cast<std::size_t>(entry - 1)).name), chkDuran->isChecked()};
}

LineTrial frmProperties::chosen() const
{
    LineTrial trial;
    trial.port = cboPort->currentIndex() + 1;
    trial.flow = static_cast<FlowControl>(flow_);
    trial.reading = chosenReading();
    // A choice that is none is refused by "Tamam", with its reason; until then it is listened with what is usual.
    trial.settings = parseLineSettings(chosenSettings()).value_or(LineSettings());
    return trial;
}

QString frmProperties::chosenSettings() const
{
    return base::trimBlanks(cboSpeed->currentText()) + u',' + cboParity->currentText().left(1) + u',' +
           base::trimBlanks(cboDataBits->currentText()) + u',' + base::trimBlanks(cboStopBits->currentText());
}

void frmProperties::cboBicim_Click()
{
    // As it is, nothing is looked at for stillness.
    chkDuran->setEnabled(cboBicim->currentIndex() > 0);
}

void frmProperties::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    choiceChanged();
}

void frmProperties::choiceChanged()
{
    if (finder_ && finder_->isSearching()) return;
    if (isVisible() && doors_.devices) listening_.start();
}

void frmProperties::listenAgain()
{
    if (control_.portOpen()) return; // it could not be closed, and the line is its own
    if (!listener_) {
        listener_ = std::make_unique<LineListener>(doors_.ports, doors_.devices, doors_.regional);
        connect(listener_.get(), &LineListener::changed, this, &frmProperties::showWhatArrives);
    }
    listener_->listen(chosen());
    showWhatArrives();
}

void frmProperties::leaveTheLine()
{
    listening_.stop();
    if (listener_) listener_->stop();
    if (!finder_ || !finder_->isSearching()) return;
    finder_->stop();
    cmdBul->setText(u"Terazi Bul"_s);
    bulunan_->setText(u"Durduruldu."_s);
}

void frmProperties::showWhatArrives()
{
    constexpr qsizetype shownBytes = 22; // what fits into the width
    const QByteArray last = listener_->bytes().right(shownBytes);
    gelen_->setText(readable(last));
    bayt_->setText(QString::fromLatin1(last.toHex(' ').toUpper()));
    const QString trouble = listener_->trouble();
    tanınan_->setText(listener_->recognised());
    const QString shown = listener_->shown().isEmpty() ? u"-"_s : readable(listener_->shown().toLatin1());
    ekranda_->setText(trouble.isEmpty() ? shown : u"%1  (%2)"_s.arg(shown, trouble));
}

void frmProperties::cmdBul_Click()
{
    const bool searching = finder_ && finder_->isSearching();
    leaveTheLine();
    if (searching || !doors_.devices) return choiceChanged();
    if (!finder_) {
        finder_ = std::make_unique<ScaleFinder>(doors_.ports, doors_.devices, doors_.regional);
        const auto end = [this](const QString& sentence) {
            cmdBul->setText(u"Terazi Bul"_s);
            bulunan_->setText(sentence);
            choiceChanged();
        };
        connect(finder_.get(), &ScaleFinder::progress, bulunan_, &QLabel::setText);
        connect(finder_.get(), &ScaleFinder::notFound, this, end);
        connect(finder_.get(), &ScaleFinder::found, this, [this, end](const FoundScale& scale) {
            takeFound(scale);
            end(sentenceOf(scale));
        });
    }
    cmdBul->setText(u"Durdur"_s);
    finder_->start();
}

void frmProperties::takeFound(const FoundScale& found)
{
    chooseIndex(cboPort, found.port - 1);
    chooseText(cboSpeed, QString::number(found.settings.speed));
    chooseText(cboDataBits, QString::number(found.settings.dataBits));
    cboParity->setCurrentIndex(static_cast<int>(u"eonms"_s.indexOf(QLatin1Char(found.settings.parity))));
    chooseText(cboStopBits, found.settings.stopBits == StopBits::two ? u"2"_s : u"1"_s);
    optFlow.at(0)->setChecked(true);
    // Which of several it is, the operator knows: a guess would be a wrong weight.
    if (found.candidates.empty()) cboBicim->setCurrentIndex(entryOf(found.format));
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
    leaveTheLine();
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
    leaveTheLine();
    if (!applyPort() || !applySettings() || !applyFlow()) return choiceChanged();
    save();
    if (doors_.readAs) doors_.readAs(chosenReading());
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
    return !warned(passOver([this] { control_.setSettings(chosenSettings()); }));
}

bool frmProperties::applyFlow()
{
    return !warned(passOver([this] { control_.setHandshaking(flow_); }));
}

void frmProperties::save()
{
    // What the control reports, not what the lists say: the stored string is one that it accepted.
    const std::pair<QString, QString> texts[] = {
        {setting_keys::lineSettings, control_.settings()},
        {setting_keys::portNumber, QString::number(control_.commPort())},
        {setting_keys::flowControl, QString::number(control_.handshaking())},
        {setting_keys::echo, base::flagText(echo_)},
        {setting_keys::format, chosenReading().format},
        {setting_keys::stillOnly, base::flagText(chosenReading().stillOnly)},
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
