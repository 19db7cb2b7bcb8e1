#include "app/form1.h"
#include "app/counter_screen.h"
#include "app/setting_names.h"
#include "base/error.h"
#include "base/numbers.h"
#include "base/pass_over.h"
#include "files/error.h"
#include "mill/queries.h"
#include "pressing/containers.h"
#include "pressing/fraction.h"
#include "pressing/keypad.h"
#include "pressing/rules.h"
#include "pressing/station_screen.h"
#include <exception>

using namespace Qt::StringLiterals;

namespace app {

namespace {

template <class T> T* named(T* control, const char* name)
{
    control->setObjectName(QString::fromUtf8(name));
    return control;
}

template <class T> T* named(T* control, const char* name, int index)
{
    control->setObjectName(u"%1(%2)"_s.arg(QString::fromUtf8(name)).arg(index));
    return control;
}

const QStringList stationCaptions = {u" Birinci Kontrol "_s, u" İkinci Kontrol "_s};

constexpr Colour containerPanel = 0x00C6F4FF; // a pale yellow: not a working colour, not an idle one

} // namespace

Form1::Form1(const Surroundings& surroundings)
    : DataCari(surroundings.databases), DataHar(surroundings.databases), GünData(surroundings.databases),
      DataTmp(surroundings.databases), ActiveResize1(surroundings.settings), surroundings_(surroundings),
      keyboard_(surroundings.keyboard), counter_(counterScreenOf(*this)),
      ownBugs_(counter::Log(surroundings.directory, surroundings.now)),
      register_(DataCari, surroundings.regional, letWeightsIn),
      weightRecord_(surroundings.weights, counter::Log(surroundings.directory, surroundings.now), surroundings.now),
      slipRoad_({DataCari, DataHar, surroundings.databases, surroundings.slips, weightRecord_, surroundings.printer,
                 surroundings.backups, surroundings.regional, surroundings.directory, surroundings.now,
                 [this](const QString& sentence) { status->keepUntilSeen(sentence); }})
{
    setObjectName(u"Form1"_s);
    setWindowTitle(programTitle);
    setMinimumSize(leastSize);
    setMouseTracking(true);

    // Later controls lie over earlier ones: the new-customer buttons and the container panels stand on the station
    // frames without being inside them, so that they answer while the frame is disabled.
    createMenus();
    for (int Index = 0; Index < pressing::stationCount; ++Index) createStation(Index);
    Kaydet = named(new CommandButton(this, u"Kaydet"_s), "Kaydet");
    Kaydet->setFocusPolicy(Qt::NoFocus);
    Kaydet->setVisible(false);
    createKeypad();
    status = named(new StatusLine(this), "status");
    createReportPanel();
    dbListe1 = named(new SearchList(this), "dbListe1");
    dbListe1->setVisible(false);

    wireShell();
    wireCounter();
    bindData();
    wireReports();
    wireScale();
    if (surroundings_.backups) surroundings_.backups->onFailure([this](const QString& sentence) { note(sentence); });
    resize(1024, 768);
}

Form1::~Form1()
{
    if (surroundings_.backups) surroundings_.backups->giveUp();
}

void Form1::createMenus()
{
    menuStrip = new QMenuBar(this);
    menuStrip->setNativeMenuBar(false);
    Dosya = menuStrip->addMenu(u"Dosya"_s);
    Dosya->setObjectName(u"Dosya"_s);
    const auto item = [this](const char* name, const QString& caption) {
        return new MenuItem(this, QString::fromUtf8(name), caption);
    };
    CariSil = item("CariSil", u"Carileri Sil"_s);
    HesapSil = item("HesapSil", u"Hesapları Sil"_s);
    Dosya->addActions({CariSil, HesapSil});
    Bağlantı = item("Bağlantı", u"Bağlantı"_s);
    PortAyarlar = item("PortAyarlar", u"Port Ayarları"_s);
    YazFont = item("YazFont", u"Yazı Tipi"_s);
    Sayac = item("Sayac", u"Sayaç"_s);
    PrgExit = item("PrgExit", u"Çıkış"_s);
    Bağlantı->setHasCheckMark(true);
    Sayac->setHasCheckMark(true);
    menuStrip->addActions({Bağlantı, PortAyarlar, YazFont, Sayac, PrgExit});

    Frame2 = named(new ControlFrame(this, ControlFrame::Look::strip), "Frame2");
    Command1 = named(new CommandButton(Frame2, {}, CommandButton::Picture::exit), "Command1");
    Command1->setBackColor(colour::cyan);
    Command1->setSpokenName(u"Çıkış"_s);
}

void Form1::createStation(int Index)
{
    using Kind = FieldLabel::Kind;
    auto* frame = named(new ControlFrame(this, ControlFrame::Look::station, stationCaptions[Index]), "Frame1", Index);
    Frame1[Index] = frame;
    TxtLbl[Index] = named(new FieldLabel(frame, Kind::name, u" Müşteri"_s, mill::customerPrompt), "TxtLbl", Index);
    Label2[Index] = named(new FieldLabel(frame, Kind::figure, u" Sıkılacak Zeytin KG"_s, u"0"_s), "Label2", Index);
    Label3[Index] = named(new FieldLabel(frame, Kind::figure, u" Sıkılan Zeytin Yağı KG"_s, u"0"_s), "Label3", Index);
    NakitLbl[Index] = named(new FieldLabel(frame, Kind::figure, u"Zeytin Sıkma TL"_s), "NakitLbl", Index);
    Combo1[Index] = named(new DropDownList(frame, pressing::containerNames()), "Combo1", Index);
    Combo1[Index]->setTitle(u"Kap"_s);
    HakCmd[Index] = named(new CheckButton(frame, pressing::entitlementOff), "HakCmd", Index);
    Frame3[Index] = named(new ControlFrame(frame, ControlFrame::Look::group, u"Hak Ediş"_s), "Frame3", Index);
    Haklbl[Index] = named(new FieldLabel(Frame3[Index], Kind::figure, u" Yüzde %"_s), "Haklbl", Index);
    HakTut[Index] = named(new FieldLabel(Frame3[Index], Kind::figure, u" Hak Ediş"_s), "HakTut", Index);
    Verilen[Index] = named(new FieldLabel(Frame3[Index], Kind::figure, u" Verilen Lt"_s), "Verilen", Index);
    Frame3[Index]->setVisible(false);
    YazCmd[Index] = named(new CommandButton(frame, u"Fiş Yaz"_s), "YazCmd", Index);
    YazCmd[Index]->setMain(true);
    YazCmd[Index]->setEnabled(false);

    YeniCmd[Index] = named(new CommandButton(this, u"Yeni Müşteri"_s), "YeniCmd", Index);
    KapFrm[Index] = named(new ControlFrame(this, ControlFrame::Look::panel), "KapFrm", Index);
    KapFrm[Index]->setBackColor(containerPanel);
    KapFrm[Index]->setAccessibleName(stationCaptions[Index].trimmed() + u", dolacak kaplar"_s);
    YeniCmd[Index]->setSpokenName(stationCaptions[Index].trimmed());
    Label4[Index] = named(new CaptionLabel(KapFrm[Index], u"0 Kap"_s), "Label4", Index);
    Label4[Index]->setBackColor(containerPanel);
    Label4[Index]->setAutoSize(true);
    KapCmd[Index] = named(new CommandButton(KapFrm[Index], {}, CommandButton::Picture::cross), "KapCmd", Index);
    KapCmd[Index]->setSpokenName(u"Kapları bırak"_s);
    KapFrm[Index]->setVisible(false);
}

void Form1::createKeypad()
{
    const auto& captions = pressing::keyCaptions();
    for (int Index = 0; Index < Label1.size(); ++Index)
        Label1[Index] = named(new KeyLabel(this, captions[static_cast<std::size_t>(Index)]), "Label1", Index);
    GünlükCmd = named(new CommandButton(this, u"Günlük"_s), "GünlükCmd");
}

void Form1::createReportPanel()
{
    Frame4 = named(new ControlFrame(this, ControlFrame::Look::panel), "Frame4");
    Frame4->setAccessibleName(u"Günlük"_s);
    Option1[0] = named(new OptionButton(Frame4, u"CARİLER"_s), "Option1", 0);
    Option1[1] = named(new OptionButton(Frame4, u"RAPOR"_s), "Option1", 1);
    DTPickerBas = named(new DatePicker(Frame4, u"İlk gün"_s, surroundings_.regional), "DTPickerBas");
    DTPickerSon = named(new DatePicker(Frame4, u"Son gün"_s, surroundings_.regional), "DTPickerSon");
    KapatCmd[1] = named(new CommandButton(Frame4, u"Yazdır"_s), "KapatCmd", 1);
    KapatCmd[0] = named(new CommandButton(Frame4, u"Kapat"_s), "KapatCmd", 0);
    GünLbl = named(new FieldLabel(Frame4, FieldLabel::Kind::name, u"Müşteri"_s), "GünLbl");
    DBGrid1 = named(new ListingGrid(Frame4), "DBGrid1");
    Frame4->setVisible(false);
}

QString Form1::controlName(const QObject* control) { return control->objectName().section(u'(', 0, 0); }

float& Form1::kapSayisi(int Index)
{
    if (Index < 0 || Index > 1) throw base::runtimeError(base::errors::subscript);
    return KapSayisi[static_cast<std::size_t>(Index)];
}

int Form1::station() const { return base::toInt16(static_cast<double>(AktifKontrol)); }

void Form1::activate(CaptionLabel* label)
{
    if (AktifLbl && AktifLbl != label) {
        // What the field shows has been reported already where it is no number.
        base::passOver([this] { pressing::finishFraction(*counter_); });
        AktifLbl->setBackColor(colour::white);
    }
    AktifLbl = label;
    const bool isName = label == GünLbl || label == TxtLbl[0] || label == TxtLbl[1];
    if (!isName) dbListe1->setVisible(false);
    AktifLbl->setBackColor(colour::cyan);
}

std::optional<base::RuntimeError> Form1::errorOf(const Action& action, const QString& place)
{
    try {
        action();
    } catch (const base::RuntimeError& error) {
        return error;
    } catch (const files::Error& error) {
        return base::RuntimeError(base::errors::databaseFault, QString::fromUtf8(error.what()));
    } catch (const std::exception& error) {
        ownBug(error, place, action.file(), action.line());
    }
    return std::nullopt;
}

void Form1::run(const Action& action, const QString& place)
{
    preparation_.touched();
    ++actions_;
    if (const auto error = errorOf(action, place)) surroundings_.prompt.errorReport(*error);
    adjustPlaces();
    status->setMarks(stationMarks());
    --actions_;
    if (actions_ > 0) return;
    preparation_.goOn();
    checkInvariants();
    while (actions_ == 0 && !notes_.isEmpty()) surroundings_.prompt.exclamation(notes_.takeFirst());
}

void Form1::ownBug(const std::exception& error, const QString& action, const char* file, int line)
{
    if (const auto sentence = ownBugs_.heard(error, action, file, line)) note(*sentence);
}

void Form1::note(const QString& sentence)
{
    if (actions_ == 0)
        surroundings_.prompt.exclamation(sentence);
    else
        notes_ << sentence;
}

} // namespace app
