// The scale's line: opening the port from the settings, weights into the working station.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "app/setting_names.h"
#include "base/numbers.h"
#include "base/pass_over.h"
#include "pressing/kept_displays.h"
#include "scale/frm_properties.h"
#include "scale/weight_line.h"

#include <QCoreApplication>
#include <QTcpSocket>

using namespace Qt::StringLiterals;

namespace app {
namespace {

/// The current station as the scale sees it.
class WorkingStation : public scale::ScaleStation {
public:
    WorkingStation(Form1& form, CounterScreen& counter, int index) : form_(form), counter_(counter), index_(index) {}
    QString customer() const override { return form_.TxtLbl[index_]->caption(); }
    QString weight() const override { return form_.Label2[index_]->caption(); }
    void setWeight(const QString& caption) override
    {
        pressing::allOrNothing(counter_, [&] { form_.Label2[index_]->setCaption(caption); });
    }
    bool isEnabled() const override { return form_.Frame1[index_]->enabled(); }

private:
    Form1& form_;
    CounterScreen& counter_;
    int index_;
};

} // namespace

void Form1::wireScale()
{
    TeraziComm = new scale::TeraziComm(scale::systemPorts(surroundings_.directory), scale::systemSerialDevice(), this);
    TeraziComm->setObjectName(u"TeraziComm"_s);
    connect(TeraziComm, &scale::TeraziComm::OnComm, this, [this] { scaleEvent(); });
    Winsock1 = new scale::DrainSocket(std::make_unique<QTcpSocket>(), this);
    Winsock1->setObjectName(u"Winsock1"_s);
    Winsock2 = new scale::DrainSocket(std::make_unique<QTcpSocket>(), this);
    Winsock2->setObjectName(u"Winsock2"_s);
    Bağlantı->onClick([this] { Bağlantı_Click(); });
    PortAyarlar->onClick([this] { PortAyarlar_Click(); });
}

void Form1::scaleEvent()
{
    ++scaleEvents_;
    // A scale that sends what is no weight does so many times a second: one report is enough until a good line comes.
    const auto error = errorOf([this] { TeraziComm_OnComm(); }, u"TeraziComm"_s);
    const QString fault = error ? error->text() : QString();
    const bool known = fault == scaleFault_;
    scaleFault_ = fault;
    if (error && !known) surroundings_.prompt.errorReport(*error);
    showPortState();
    adjustPlaces();
    if (actions_ == 0) checkInvariants();
}

void Form1::TeraziComm_OnComm()
{
    WorkingStation working(*this, *counter_, station());
    if (TeraziComm->commEvent() == scale::events::received) status->weightArrived();
    scale::onScaleEvent(*TeraziComm, working, surroundings_.regional, [] { QCoreApplication::processEvents(); });
}

void Form1::PortAc()
{
    base::passOver([&] {
        if (TeraziComm->portOpen()) TeraziComm->setPortOpen(false);
    });
    const SettingsStore& settings = surroundings_.settings;
    const auto stored = [&](const QString& key) { return settings.get(programTitle, propertiesSection, key, {}); };

    if (const QString line = stored(u"Settings"_s); !line.isEmpty()) {
        try {
            TeraziComm->setSettings(line);
        } catch (const base::RuntimeError& error) {
            surroundings_.prompt.exclamation(error.text());
            return showPortState();
        }
    }
    // A bad port number says nothing here; it shows, if at all, in a port that does not open.
    if (const QString number = stored(u"CommPort"_s); !number.isEmpty())
        base::passOver([&] { TeraziComm->setCommPort(base::toInt16(number, surroundings_.regional)); });
    if (const QString mode = stored(u"Handshaking"_s); !mode.isEmpty()) {
        try {
            TeraziComm->setHandshaking(base::toInt32(mode, surroundings_.regional));
        } catch (const base::RuntimeError& error) {
            surroundings_.prompt.exclamation(error.text());
            return showPortState();
        }
    }
    base::passOver([&] { TeraziComm->setPortOpen(true); });
    showPortState();
}

scale::PropertiesDoors Form1::propertiesDoors()
{
    scale::PropertiesDoors doors;
    doors.ports = scale::systemPorts(surroundings_.directory);
    doors.save = [this](const QString& key, const QString& text) {
        surroundings_.settings.save(programTitle, propertiesSection, key, text);
    };
    doors.warn = [this](const QString& text) { surroundings_.prompt.exclamation(text); };
    return doors;
}

void Form1::PortAyarlar_Click()
{
    const QString caption = scale::runPortSettings(*TeraziComm, [this] {
        scale::frmProperties dialog(*TeraziComm, propertiesDoors(), this);
        dialog.Form_Load();
        dialog.exec();
        activated();
    });
    PortAyarlar->setCaption(caption);
    showPortState();
}

void Form1::Bağlantı_Click()
{
    Bağlantı->setChecked(!Bağlantı->checked());
    surroundings_.settings.saveFlag(programTitle, propertiesSection, u"Baglan"_s, Bağlantı->checked());
    if (Bağlantı->checked()) {
        PortAc();
    } else if (TeraziComm->portOpen()) {
        TeraziComm->setPortOpen(false);
        showPortState();
    }
}

void Form1::showPortState()
{
    const int port = TeraziComm->portOpen() ? TeraziComm->commPort() : 0;
    if (port == shownPort_) return;
    shownPort_ = port;
    if (port)
        status->portOpened(port);
    else
        status->portClosed();
}

} // namespace app
