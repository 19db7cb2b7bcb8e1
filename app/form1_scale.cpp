// The scale's line: opening the port from the settings, weights into the working station.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "app/setting_names.h"
#include "base/numbers.h"
#include "base/pass_over.h"
#include "base/path_text.h"
#include "pressing/kept_displays.h"
#include "scale/frm_properties.h"
#include "scale/setting_keys.h"
#include "scale/weight_line.h"
#include "store/moment.h"

#include <QCoreApplication>
#include <QTcpSocket>
#include <utility>

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
        if (!form_.TeraziComm->lastLineIsWhole()) return; // half a line, which clears the weight
        form_.origins().weighed(index_, form_.TeraziComm->lastLine().toStdString(),
                                store::daysOf(form_.surroundings().now()));
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
    TeraziComm =
        new scale::TeraziComm(scale::systemPorts(portPlaces(), adapterMemory()), surroundings_.serialDevice(), this);
    TeraziComm->setObjectName(u"TeraziComm"_s);
    connect(TeraziComm, &scale::TeraziComm::understandingChanged, this, [this] {
        status->setWhyNoWeight(TeraziComm->why());
        status->setBetterFormat(TeraziComm->hint());
    });
    connect(TeraziComm, &scale::TeraziComm::deviceOpened, this, [this](int number, const QString& path) {
        base::passOver([&] { scale::rememberAdapter(number, path, portPlaces(), adapterMemory()); });
    });
    connect(TeraziComm, &scale::TeraziComm::OnComm, this, [this] { scaleEvent(); });
    connect(TeraziComm, &scale::TeraziComm::stateChanged, this, [this] { showPortState(); });
    Winsock1 = new scale::DrainSocket(std::make_unique<QTcpSocket>(), this);
    Winsock1->setObjectName(u"Winsock1"_s);
    Winsock2 = new scale::DrainSocket(std::make_unique<QTcpSocket>(), this);
    Winsock2->setObjectName(u"Winsock2"_s);
    Bağlantı->onClick([this] { Bağlantı_Click(); });
    PortAyarlar->onClick([this] { PortAyarlar_Click(); });
}

platform::SerialPortPlaces Form1::portPlaces() const
{
    platform::SerialPortPlaces places;
    places.programDirectory = base::pathOf(surroundings_.directory);
    places.devices = base::pathOf(surroundings_.devices);
    return places;
}

scale::AdapterMemory Form1::adapterMemory()
{
    return {[this] { return storedSetting()(scale::setting_keys::adapter); },
            [this](const QString& text) {
                surroundings_.settings.save(programTitle, propertiesSection, scale::setting_keys::adapter, text);
            }};
}

void Form1::scaleEvent()
{
    ++scaleEvents_;
    auto heard = scale::EventOutcome::nothing;
    const auto error = errorOf([&] { heard = TeraziComm_OnComm(); }, u"TeraziComm"_s);
    // A text that comes a second time raises nothing: it is on the screen already, and still no weight.
    if (heard == scale::EventOutcome::line && base::isNumeric(Label2[station()]->caption(), surroundings_.regional))
        status->weightArrived();
    else if (error || heard != scale::EventOutcome::nothing)
        status->lineNotUnderstood();
    // A scale that sends what is no weight does so many times a second: one box is enough until the operator has acted
    // on the port. More lines arrive while the box stands.
    if (error && !std::exchange(scaleFaultTold_, true)) surroundings_.prompt.errorReport(*error);
    adjustPlaces();
    status->setMarks(stationMarks());
    if (actions_ == 0) checkInvariants();
}

scale::EventOutcome Form1::TeraziComm_OnComm()
{
    WorkingStation working(*this, *counter_, station());
    return scale::onScaleEvent(*TeraziComm, working, surroundings_.regional, [] { QCoreApplication::processEvents(); });
}

void Form1::PortAc()
{
    portFault_.clear();
    const auto refusal = scale::openStored(
        *TeraziComm, storedSetting(), surroundings_.regional,
        [this](const scale::ReadingChoice& choice) { TeraziComm->readAs(choice, surroundings_.regional); });
    if (!refusal) return;
    portFault_ = refusal->why;
    showPortState();
    if (refusal->told) surroundings_.prompt.exclamation(refusal->told->text());
}

scale::StoredSetting Form1::storedSetting() const
{
    return [this](const QString& key) { return surroundings_.settings.get(programTitle, propertiesSection, key, {}); };
}

scale::PropertiesDoors Form1::propertiesDoors()
{
    scale::PropertiesDoors doors;
    doors.ports = scale::systemPorts(portPlaces(), adapterMemory());
    doors.save = [this](const QString& key, const QString& text) {
        surroundings_.settings.save(programTitle, propertiesSection, key, text);
    };
    doors.reading = scale::storedReading(storedSetting());
    doors.readAs = [this](const scale::ReadingChoice& choice) { TeraziComm->readAs(choice, surroundings_.regional); };
    doors.regional = surroundings_.regional;
    doors.devices = surroundings_.serialDevice;
    doors.warn = [this](const QString& text) { surroundings_.prompt.exclamation(text); };
    return doors;
}

void Form1::PortAyarlar_Click()
{
    scaleFaultTold_ = false;
    const QString caption = scale::runPortSettings(*TeraziComm, [this] {
        scale::frmProperties dialog(*TeraziComm, propertiesDoors(), this);
        dialog.Form_Load();
        dialog.exec();
        activated();
    });
    PortAyarlar->setCaption(caption);
}

void Form1::Bağlantı_Click()
{
    scaleFaultTold_ = false;
    Bağlantı->setChecked(!Bağlantı->checked());
    surroundings_.settings.saveFlag(programTitle, propertiesSection, setting_keys::connected, Bağlantı->checked());
    if (Bağlantı->checked()) {
        PortAc();
    } else {
        portFault_.clear();
        // Also where it is closed: why it would not open is nobody's question any more.
        TeraziComm->setPortOpen(false);
    }
}

void Form1::showPortState()
{
    const int number = TeraziComm->commPort();
    const int port = TeraziComm->isPluggedIn() ? number : 0;
    if (TeraziComm->portOpen()) portFault_.clear();
    if (TeraziComm->portOpen() && port == 0)
        status->portClosed(scale::whySilent(number, TeraziComm->whyNotBack()));
    else if (port == 0)
        status->portClosed(portFault_.isEmpty() ? scale::whyClosed(number, TeraziComm->trouble()) : portFault_);
    else if (port != shownPort_)
        status->portOpened(port);
    shownPort_ = port;
}

} // namespace app
