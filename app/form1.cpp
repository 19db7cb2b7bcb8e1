#include "app/form1.h"
#include "app/counter_screen.h"
#include "app/setting_names.h"
#include "base/error.h"
#include "base/numbers.h"
#include "pressing/containers.h"
#include "pressing/keypad.h"
#include "pressing/station_screen.h"
#include <exception>

namespace app {

namespace {

template <class T> T* named(T* control, const char* name)
{
    control->setObjectName(QString::fromUtf8(name));
    return control;
}

template <class T> T* named(T* control, const char* name, int index)
{
    control->setObjectName(QStringLiteral("%1(%2)").arg(QString::fromUtf8(name)).arg(index));
    return control;
}

const QStringList stationCaptions = {QStringLiteral(" Birinci Kontrol "), QStringLiteral(" İkinci Kontrol ")};

constexpr Colour containerPanel = 0x00C6F4FF; // a pale yellow: not a working colour, not an idle one

} // namespace

Form1::Form1(const Surroundings& surroundings)
    : DataCari(surroundings.databases), DataHar(surroundings.databases), GünData(surroundings.databases),
      DataTmp(surroundings.databases), ActiveResize1(surroundings.settings), surroundings_(surroundings),
      keyboard_(surroundings.keyboard), counter_(std::make_unique<CounterScreen>(*this))
{
    setObjectName(QStringLiteral("Form1"));
    setWindowTitle(programTitle);
    setMinimumSize(960, 640);
    setMouseTracking(true);

    // Later controls lie over earlier ones: the new-customer buttons and the container panels stand on the station
    // frames without being inside them, so that they answer while the frame is disabled.
    createMenus();
    for (int Index = 0; Index < pressing::stationCount; ++Index) createStation(Index);
    Kaydet = named(new CommandButton(this, QStringLiteral("Kaydet")), "Kaydet");
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
    Dosya = menuStrip->addMenu(QStringLiteral("Dosya"));
    Dosya->setObjectName(QStringLiteral("Dosya"));
    const auto item = [this](const char* name, const QString& caption) {
        return new MenuItem(this, QString::fromUtf8(name), caption);
    };
    CariSil = item("CariSil", QStringLiteral("Carileri Sil"));
    HesapSil = item("HesapSil", QStringLiteral("Hesapları Sil"));
    Dosya->addActions({CariSil, HesapSil});
    Bağlantı = item("Bağlantı", QStringLiteral("Bağlantı"));
    PortAyarlar = item("PortAyarlar", QStringLiteral("Port Ayarları"));
    YazFont = item("YazFont", QStringLiteral("Yazı Tipi"));
    Sayac = item("Sayac", QStringLiteral("Sayaç"));
    PrgExit = item("PrgExit", QStringLiteral("Çıkış"));
    Bağlantı->setHasCheckMark(true);
    Sayac->setHasCheckMark(true);
    menuStrip->addActions({Bağlantı, PortAyarlar, YazFont, Sayac, PrgExit});

    Frame2 = named(new ControlFrame(this, ControlFrame::Look::strip), "Frame2");
    Command1 = named(new CommandButton(Frame2, {}, CommandButton::Picture::exit), "Command1");
    Command1->setBackColor(colour::cyan);
    Command1->setSpokenName(QStringLiteral("Çıkış"));
}

void Form1::createStation(int Index)
{
    using Kind = FieldLabel::Kind;
    auto* frame = named(new ControlFrame(this, ControlFrame::Look::station, stationCaptions[Index]), "Frame1", Index);
    Frame1[Index] = frame;
    TxtLbl[Index] =
        named(new FieldLabel(frame, Kind::name, QStringLiteral(" Müşteri"), pressing::customerPrompt), "TxtLbl", Index);
    Label2[Index] =
        named(new FieldLabel(frame, Kind::figure, QStringLiteral(" Sıkılacak Zeytin KG"), QStringLiteral("0")),
              "Label2", Index);
    Label3[Index] =
        named(new FieldLabel(frame, Kind::figure, QStringLiteral(" Sıkılan Zeytin Yağı KG"), QStringLiteral("0")),
              "Label3", Index);
    NakitLbl[Index] = named(new FieldLabel(frame, Kind::figure, QStringLiteral("Zeytin Sıkma TL")), "NakitLbl", Index);
    Combo1[Index] =
        named(new DropDownList(frame, QStringList(pressing::containerKinds.begin(), pressing::containerKinds.end())),
              "Combo1", Index);
    Combo1[Index]->setTitle(QStringLiteral("Kap"));
    HakCmd[Index] = named(new CheckButton(frame, QStringLiteral("Hak Ediş Yok")), "HakCmd", Index);
    Frame3[Index] =
        named(new ControlFrame(frame, ControlFrame::Look::group, QStringLiteral("Hak Ediş")), "Frame3", Index);
    Haklbl[Index] = named(new FieldLabel(Frame3[Index], Kind::figure, QStringLiteral(" Yüzde %")), "Haklbl", Index);
    HakTut[Index] = named(new FieldLabel(Frame3[Index], Kind::figure, QStringLiteral(" Hak Ediş")), "HakTut", Index);
    Verilen[Index] =
        named(new FieldLabel(Frame3[Index], Kind::figure, QStringLiteral(" Verilen Lt")), "Verilen", Index);
    Frame3[Index]->setVisible(false);
    YazCmd[Index] = named(new CommandButton(frame, QStringLiteral("Fiş Yaz")), "YazCmd", Index);
    YazCmd[Index]->setMain(true);
    YazCmd[Index]->setEnabled(false);

    YeniCmd[Index] = named(new CommandButton(this, QStringLiteral("Yeni Müşteri")), "YeniCmd", Index);
    KapFrm[Index] = named(new ControlFrame(this, ControlFrame::Look::panel), "KapFrm", Index);
    KapFrm[Index]->setBackColor(containerPanel);
    KapFrm[Index]->setAccessibleName(stationCaptions[Index].trimmed() + QStringLiteral(", dolacak kaplar"));
    YeniCmd[Index]->setSpokenName(stationCaptions[Index].trimmed());
    Label4[Index] = named(new CaptionLabel(KapFrm[Index], QStringLiteral("0 Kap")), "Label4", Index);
    Label4[Index]->setBackColor(containerPanel);
    Label4[Index]->setAutoSize(true);
    KapCmd[Index] = named(new CommandButton(KapFrm[Index], {}, CommandButton::Picture::cross), "KapCmd", Index);
    KapCmd[Index]->setSpokenName(QStringLiteral("Kapları bırak"));
    KapFrm[Index]->setVisible(false);
}

void Form1::createKeypad()
{
    const auto& captions = pressing::keyCaptions();
    for (int Index = 0; Index < Label1.size(); ++Index)
        Label1[Index] = named(new KeyLabel(this, captions[static_cast<std::size_t>(Index)]), "Label1", Index);
    GünlükCmd = named(new CommandButton(this, QStringLiteral("Günlük")), "GünlükCmd");
}

void Form1::createReportPanel()
{
    Frame4 = named(new ControlFrame(this, ControlFrame::Look::panel), "Frame4");
    Frame4->setAccessibleName(QStringLiteral("Günlük"));
    Option1[0] = named(new OptionButton(Frame4, QStringLiteral("CARİLER")), "Option1", 0);
    Option1[1] = named(new OptionButton(Frame4, QStringLiteral("RAPOR")), "Option1", 1);
    DTPickerBas = named(new DatePicker(Frame4, QStringLiteral("İlk gün"), surroundings_.regional), "DTPickerBas");
    DTPickerSon = named(new DatePicker(Frame4, QStringLiteral("Son gün"), surroundings_.regional), "DTPickerSon");
    KapatCmd[1] = named(new CommandButton(Frame4, QStringLiteral("Yazdır")), "KapatCmd", 1);
    KapatCmd[0] = named(new CommandButton(Frame4, QStringLiteral("Kapat")), "KapatCmd", 0);
    GünLbl = named(new FieldLabel(Frame4, FieldLabel::Kind::name, QStringLiteral("Müşteri")), "GünLbl");
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
    if (AktifLbl) AktifLbl->setBackColor(colour::white);
    AktifLbl = label;
    AktifLbl->setBackColor(colour::cyan);
}

std::optional<base::RuntimeError> Form1::errorOf(const std::function<void()>& action)
{
    try {
        action();
        return std::nullopt;
    } catch (const base::RuntimeError& error) {
        return error;
    } catch (const std::exception& error) {
        // Whatever else went wrong ends the action just the same; 5 is what the platform calls a call that failed.
        return base::RuntimeError(base::errors::invalidCall, QString::fromUtf8(error.what()));
    }
}

void Form1::run(const std::function<void()>& action)
{
    ++actions_;
    if (const auto error = errorOf(action)) surroundings_.prompt.errorReport(*error);
    settle();
    --actions_;
    while (actions_ == 0 && !notes_.isEmpty()) surroundings_.prompt.exclamation(notes_.takeFirst());
}

void Form1::note(const QString& sentence)
{
    if (actions_ == 0)
        surroundings_.prompt.exclamation(sentence);
    else
        notes_ << sentence;
}

} // namespace app
