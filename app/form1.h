#pragma once

#include "app/caption_label.h"
#include "app/command_button.h"
#include "app/control.h"
#include "app/control_frame.h"
#include "app/date_picker.h"
#include "app/drop_down_list.h"
#include "app/field_label.h"
#include "app/key_label.h"
#include "app/keyboard_state.h"
#include "app/listing_grid.h"
#include "app/menu_item.h"
#include "app/preparation.h"
#include "app/prompt.h"
#include "app/screen_layout.h"
#include "app/search_list.h"
#include "app/status_line.h"
#include "base/error.h"
#include "base/regional.h"
#include "counter/own_bugs.h"
#include "counter/register.h"
#include "counter/slip_road.h"
#include "counter/weight_record.h"
#include "pressing/kept_displays.h"
#include "pressing/weight_origins.h"
#include "print/print_font.h"
#include "print/print_target.h"
#include "print/printer.h"
#include "reports/period.h"
#include "scale/drain_socket.h"
#include "scale/serial_device.h"
#include "scale/stored_port.h"
#include "scale/terazi_comm.h"
#include "store/backups.h"
#include "store/data_source.h"
#include "store/slip_note.h"
#include "weights/weight_book.h"
#include <QDateTime>
#include <QMenu>
#include <QMenuBar>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

namespace shared {
struct Taken;
} // namespace shared

namespace scale {
enum class EventOutcome;
struct PropertiesDoors;
} // namespace scale

namespace app {

using namespace Qt::StringLiterals;

class CounterScreen;

/// What the screen needs from outside. All of it outlives the screen.
struct Surroundings {
    Prompt& prompt;
    SettingsStore& settings;
    base::Regional regional;     ///< how this user writes numbers and dates
    QString directory;           ///< the program's directory, where Yag.mdb lies
    QString devices = u"/dev"_s; ///< where the system keeps its devices
    QString executable;          ///< the program file's name as it is at run time, without extension
    store::Databases& databases;
    print::PrintTarget& printer;
    store::SlipNotes& slips;           ///< the note of a slip that is on its way
    weights::WeightBook& weights;      ///< one line for every stored pressing
    platform::Keyboard& keyboard;      ///< whose Caps Lock follows the keypad's case
    std::function<QDateTime()> now;    ///< the clock of pressings, slips and copies
    store::Backups* backups = nullptr; ///< the copies of the database; none: it is not copied
    /// Makes what a port is opened on.
    std::function<std::unique_ptr<scale::SerialDevice>()> serialDevice = scale::systemSerialDevice;
};

/// The one working screen: two pressing stations, the keypad, the search list, the report panel.
///
/// It owns every control and all state of the form for the life of the process. The pressing that is being entered
/// exists only as the captions of these controls. A handler is control, underscore, event; handlers of one subject
/// share one file (form1_*.cpp). Handlers throw base::RuntimeError; what the operator begins ends in run(), which
/// shows the report, drops the rest of the action and leaves captions and database as they are at that moment. Any
/// other exception is our own bug: it is shown and logged as one, with the control that began the action.
///
/// Between two actions holds, and checkInvariants() asserts:
/// 1. AktifKontrol is 999 until the first activation, and 0 or 1 from then on.
/// 2. From then on exactly one station works, the one of AktifKontrol: its frame is green and enabled. The other is
///    button face and disabled.
/// 3. AktifLbl is cyan and no other field is; before the first activation none is. It can be seen, the name filter of
///    the report panel apart, which the view of the customers hides while it is empty. While the panel is open, it is
///    that filter.
/// 4. HakVar of a station, its Frame3 and the caption of its HakCmd say the same.
/// 5. Dosya is disabled exactly while the report panel is open.
/// 6. Kaydet is visible only over a name at the working station, never over the prompt or the report panel.
/// 7. The search list is visible only while a name is edited: the working station's, or the panel's.
/// 8. Verilen is Label3 less HakTut of its station, as long as both show numbers.
/// 9. A record carries one pay: while Frame3 is shown the fee is 0, while it is hidden HakTut is. An empty display is
/// 0.
class Form1 : public QWidget, public ActionHost {
    Q_OBJECT

public:
    /// Below this, in pixels of the system's scale, figures of the stations can no longer be read.
    static constexpr QSize leastSize{960, 640};

    explicit Form1(const Surroundings& surroundings);
    ~Form1() override;

    /// Load, show, activate: the life of the form up to the event loop.
    void start();
    /// Runs the activation as an action. To be called after each dialog of the program has closed; message boxes
    /// and other programs' windows do not count.
    void activated();

    void run(const Action& action, const QString& place = {}) override;
    /// The report panel lies over both stations: while it is open, nothing reaches them.
    bool covers(const QWidget& control) const override;
    /// Shows a note that belongs to no action: at once, or when the action that is under way has ended.
    void note(const QString& sentence);
    /// What other counters did may come into the file now: no action is under way, and nothing is touched, unless it
    /// has waited for so many milliseconds that others would wait for it too long.
    bool mayTakeNews(qint64 waited) const;
    void newsTaken(const shared::Taken& taken);
    /// Logs and tells a bug of our own that came from outside an action; `action` says what was being done.
    void ownBug(const std::exception& error, const QString& action, const char* file = __builtin_FILE(),
                int line = __builtin_LINE());

    /// The control that a name such as "Label2" or "Label2(1)" means is found by its object name; this is the part
    /// before the bracket.
    static QString controlName(const QObject* control);

    // State of the form.
    float AktifKontrol = 999;         ///< the current station, 0 or 1; 999: none
    CaptionLabel* AktifLbl = nullptr; ///< the label that keypad and search write into; null until the activation
    bool CapsDurum = false;           ///< the keypad shows capitals
    float SonTus = 0;                 ///< the key last under the mouse
    std::array<bool, 2> HakVar{};     ///< the entitlement is taken; the current station's is the one that counts
    std::array<float, 2> KapSayisi{}; ///< containers still to fill
    QString GridGorunum;              ///< the option clicked last, "0" or "1"; empty until one is

    /// KapSayisi of that station; error 9 for an index that is neither 0 nor 1.
    float& kapSayisi(int Index);
    /// AktifKontrol as an index. Rounds as every conversion to a whole number does.
    int station() const;

    // Menus. Dosya is disabled as a whole while the report panel is open.
    QMenuBar* menuStrip = nullptr;
    QMenu* Dosya = nullptr;
    MenuItem *CariSil = nullptr, *HesapSil = nullptr;
    MenuItem *Bağlantı = nullptr, *PortAyarlar = nullptr, *YazFont = nullptr, *Sayac = nullptr, *PrgExit = nullptr;

    // The two stations.
    ControlArray<ControlFrame, 2> Frame1, Frame3, KapFrm;
    ControlArray<FieldLabel, 2> TxtLbl, Label2, Label3, Haklbl, HakTut, Verilen, NakitLbl;
    ControlArray<CaptionLabel, 2> Label4;
    ControlArray<CheckButton, 2> HakCmd;
    ControlArray<CommandButton, 2> KapCmd, YazCmd, YeniCmd;
    ControlArray<DropDownList, 2> Combo1;
    SearchList* dbListe1 = nullptr;
    CommandButton* Kaydet = nullptr;

    // The keypad and what stands beside it.
    ControlArray<KeyLabel, 49> Label1;
    CommandButton* GünlükCmd = nullptr;
    ControlFrame* Frame2 = nullptr;
    CommandButton* Command1 = nullptr;

    // The report panel.
    ControlFrame* Frame4 = nullptr;
    ControlArray<OptionButton, 2> Option1;
    DatePicker *DTPickerBas = nullptr, *DTPickerSon = nullptr;
    FieldLabel* GünLbl = nullptr;
    ListingGrid* DBGrid1 = nullptr;
    ControlArray<CommandButton, 2> KapatCmd;

    // The scale's line, and two sockets that only drain what arrives.
    scale::TeraziComm* TeraziComm = nullptr;
    scale::DrainSocket *Winsock1 = nullptr, *Winsock2 = nullptr;
    int scaleEvents() const { return scaleEvents_; } ///< events of the line so far

    // The data sources, bound to Yag.mdb when the form is loaded.
    store::DataSource DataCari, DataHar, GünData, DataTmp;

    StatusLine* status = nullptr;
    ScreenLayout ActiveResize1;

    // Start, activation, end; the screen-wide handlers.
    void Form_Load();
    void Form_Activate();
    void Form_QueryUnload();
    void Form_MouseMove();
    void Form_MouseUp();
    void PortAc();
    void Bağlantı_Click();
    void PrgExit_Click();
    void Command1_Click();
    void KapCmd_Click(int Index);

    // The scale and its dialog.
    scale::EventOutcome TeraziComm_OnComm();
    void PortAyarlar_Click();

    // The customer register.
    void YeniCmd_Click(int Index);
    void TxtLbl_Click(int Index);
    void TxtLbl_Change(int Index);
    void GünLbl_Click();
    void GünLbl_Change();
    void dbListe1_Click();
    void takePicked(const QString& name);
    void DataCari_Reposition();
    /// Into the working station; what is empty, or what its display does not take, leaves that display as it is.
    void recall(const counter::Terms& terms);
    void Kaydet_Click();
    void GünlükCmd_Click();
    void CariSil_Click();
    void HesapSil_Click();

    // Pressing entry, entitlement, containers.
    void Label1_Click(int Index);
    void Label1_MouseMove(int Index);
    void Label2_Click(int Index);
    void Label2_Change(int Index);
    void Label3_Click(int Index);
    void Label3_Change(int Index);
    void Haklbl_Click(int Index);
    void Haklbl_Change(int Index);
    void HakTut_Change(int Index);
    void NakitLbl_Click(int Index);
    void NakitLbl_Change(int Index);
    void HakCmd_Click(int Index);
    void KapFrm_Click(int Index);
    void Label4_Click(int Index);
    void Label4_Change(int Index);
    void CapsAyarla(bool wanted);
    void IlkHarfBuyut();

    // Printing.
    void YazCmd_Click(int Index);
    void KapatCmd_Click(int Index);
    void YazFont_Click();
    void Sayac_Click();

    // The report panel.
    void Option1_Click(int Index);
    void DTPickerBas_Change();
    void DTPickerSon_Change();
    void RaporYenile();
    void GünData_Reposition();
    void IzgaraDuzenle();
    void IzgaraYukle();
    void IzgaraKaydet(int column);

    const Surroundings& surroundings() const { return surroundings_; }
    pressing::WeightOrigins& origins() { return origins_; } ///< of the weights at both stations

    /// Makes a station the one that works: frames, active label, list's place; whatever worked before.
    void workAt(int Index);
    /// The search list opens over that station's displays, below the customer's name.
    void moveListToStation(int Index);
    /// The search list opens over the grid of the report panel, below the name.
    void moveListToPanel();
    /// Makes a label the one that is edited: the old one white, the new one cyan. A fraction left unfinished in the old
    /// one goes, and names found go where no name is edited.
    void activate(CaptionLabel* label);
    /// Upper or lower case captions on the keys, after CapsDurum.
    void showKeyCase();
    /// The keypad's case goes over to the other one: flag, Caps Lock, setting and captions.
    void toggleCapitals();
    /// Refreshes a source and makes its record count exact.
    void VeriYenile(store::DataSource& source);
    /// Events that wait are run, but not the operator's: taps wait until a search or a report is done, weights do not.
    static void letWeightsIn();

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    /// Tab goes on past what gets no input.
    bool focusNextPrevChild(bool next) override;

private:
    void createMenus();
    void createStation(int Index);
    void createKeypad();
    void createReportPanel();
    void wireShell();
    void wireCounter();
    void bindData();
    void wireScale();
    void wireReports();
    /// Runs an action to its end; the operator's error that it failed with, if it did. Nothing it throws comes out.
    std::optional<base::RuntimeError> errorOf(const Action& action, const QString& place);
    void checkInvariants() const;
    /// Of the invariants, those about one station's figures.
    void checkPay(int Index) const;
    /// After the activation, which gives the name of the first station the keys.
    void panelTakesItsLabelBack();
    /// No name is being typed any more: neither names found nor `Kaydet` are shown.
    void endNameTyping();
    /// `Kaydet` says what it does with the name that the working station shows.
    void captionKaydet();
    /// One event of the line, as an action: its error is reported once, not at every line of a scale that errs.
    void scaleEvent();
    void showPortState();
    scale::PropertiesDoors propertiesDoors();
    /// Where serial devices are looked for, and where is kept which adapter a port number stands for.
    platform::SerialPortPlaces portPlaces() const;
    scale::AdapterMemory adapterMemory();
    scale::StoredSetting storedSetting() const;
    /// The printer's state and the size of the journal, in the status line.
    void showFacts();
    /// The second of these, which asks nobody.
    void showJournalSize();
    /// A box with what the operator must come to see, which then leaves the line; else with all of a line that is cut.
    void status_Click();
    /// Ends the action where a whole table may not be emptied from this counter.
    void refuseToEmpty();
    /// Pressings were deleted: the journal's own record set must not go on counting them.
    void journalShrunk();
    /// Lists the customers whose names begin with what was typed.
    void searchCustomers(const QString& typed);
    print::PrintFont printFont() const;
    /// Returns when the window is on the display: what takes long at a start is done behind it.
    void waitUntilSeen();
    /// What the first letter, slip and dialog of the day would wait for is done while nobody waits: the order of the
    /// names, the check of the tables, what is drawn with fonts that were not needed so far. A database that takes no
    /// pressings is told now, not with a customer at the counter.
    void getReady();
    void composeSampleSlip();
    void drawSampleDialogs();
    /// No slip waits for its row, which would come back after a deletion; otherwise the status line says why.
    bool mayDelete();
    /// Pressings of that customer are about to be deleted, or all: the book of weights is told. Returns when a copy of
    /// the database is complete, or has failed.
    void beforeDeletion(const std::optional<QString>& customer = {});
    reports::ReportQuestion reportQuestion() const;
    /// The view of that option: its flag, and what of the panel is seen in it.
    void showView(int Index);
    /// The grid lists a whole table, or the whole journal, under the headings of its view.
    void listWhole(const QString& source);
    /// The grid in the place of the names found, which lie over it.
    void showGridForNames();
    /// Before a statement: a name that was typed and not picked, or that the grid does not list, gets its report. False
    /// when there is no such customer; the status line says so.
    bool listNamedCustomer();
    void listAgain();
    /// A date of the panel became another one: the days in order, and the report.
    void periodChanged(reports::Picker changed);
    /// The grid marks the current row of its listing, if that has rows.
    void showGridPosition();
    /// The listing of the grid as a statement; any error cancels it without a box.
    void printStatement();
    /// What the status line says of the working station's figures.
    QString stationMarks() const;
    /// A weight cannot be typed before a customer is named.
    void askForCustomerFirst(int Index);
    /// Places every control for the window's present size.
    void arrange();
    void arrangeStation(int Index);
    void arrangeKeypad();
    void arrangeReportPanel();
    /// Brings the few places that depend on what is shown in line with it, after each action.
    void adjustPlaces();

    Surroundings surroundings_;
    KeyboardState keyboard_;
    std::unique_ptr<CounterScreen> counter_;
    counter::OwnBugs ownBugs_;
    counter::Register register_;
    counter::WeightRecord weightRecord_;
    counter::SlipRoad slipRoad_;
    pressing::WeightOrigins origins_;
    reports::GridModel* gridRows_ = nullptr; ///< belongs to the grid
    std::optional<pressing::KeptTerms> termsBeforePanel_;
    bool recalling_ = false; ///< terms of the register are being shown
    int actions_ = 0;        ///< under way, one inside the other
    Preparation preparation_{[this] { return actions_ == 0; }};
    QStringList notes_;         ///< to be shown when they have ended
    int ofOthers_ = 0;          ///< pressings that came in since the journal was listed, less those that went
    bool listingIsOld_ = false; ///< the panel's: others have changed the journal since
    int scaleEvents_ = 0;
    bool scaleFaultTold_ = false; ///< in a box, since the operator last acted on the port
    QString portFault_;           ///< why the stored settings of the port could not be used; empty: they could
    int shownPort_ = 0;           ///< in the status line; 0 closed
    int keypadTop_ = 0;
};

} // namespace app
