#include "tools/scenario_player.h"

#include "base/letters.h"
#include "mill/queries.h"
#include "platform/system_disk.h"
#include "print/folder_target.h"
#include "print/queue_target.h"
#include "tools/pdf_text.h"
#include "tools/scenario_report.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QTableView>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace scenario {
namespace {

QString yesNo(bool value) { return value ? u"true"_s : u"false"_s; }

void letTimePass(int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    do {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (clock.elapsed() < milliseconds) QThread::msleep(1);
    } while (clock.elapsed() < milliseconds);
}

/// At once: whoever reads this may be waiting for just this line.
void echo(const Command& command)
{
    std::printf("%d: %s\n", command.line, qUtf8Printable((QStringList(command.word) + command.arguments).join(u' ')));
    std::fflush(stdout);
}

void same(const QString& found, const QString& expected)
{
    if (found != expected) throw Failure{u"expected '%1', found '%2'"_s.arg(expected, found)};
}

void contains(const QString& found, const QString& part, const QString& what)
{
    if (!found.contains(part)) throw Failure{u"expected %1 with '%2', found '%3'"_s.arg(what, part, found)};
}

} // namespace

Player::Player(const PlayerOptions& options) : options_(options), files_(platform::systemDisk())
{
    settings_ = std::make_unique<app::SettingsStore>(settingsFolder_.path());
    std::unique_ptr<print::PrintTarget> target;
    if (options_.printTo.isEmpty())
        target = std::make_unique<print::QueueTarget>();
    else {
        QDir().mkpath(options_.printTo);
        target = std::make_unique<print::FolderTarget>(options_.printTo);
    }
    printer_ = std::make_unique<WatchedTarget>(std::move(target));
    line_ = std::make_unique<ScaleLine>(options_.directory);
    slips_ = std::make_unique<store::SlipNotes>(platform::systemDisk(), databaseFile().toStdU16String());
    weights_ = std::make_unique<weights::WeightBook>(platform::systemDisk(), options_.directory.toStdU16String());
    backups_ = std::make_unique<store::Backups>(platform::systemDisk(), options_.directory.toStdU16String());
    if (options_.now.isValid()) clockOffset_ = QDateTime::currentDateTime().msecsTo(options_.now);
}

Player::~Player() = default;

bool Player::play(std::vector<Command> commands)
{
    commands_ = std::move(commands);
    next_ = 0;
    failed_ = false;
    if (!form_) start();
    step();
    // A command may have opened a dialog whose commands ran inside it; by now all of them are through.
    if (const auto answer = prompt_.unusedAnswer()) fail(*answer, u"no message box came to be answered"_s);
    return !failed_;
}

void Player::step()
{
    while (!failed_ && next_ < commands_.size()) {
        const Command command = commands_[next_++];
        // Should the command open a dialog, it returns only when that is closed: what follows is played inside. A
        // dialog that was open before is no reason: the command may be about to close it.
        QTimer inside;
        const auto opened = [before = QApplication::activeModalWidget()] {
            const QWidget* now = QApplication::activeModalWidget();
            return now && now != before;
        };
        connect(&inside, &QTimer::timeout, this, [this, opened, depth = running_ + 1] {
            if (running_ == depth && opened()) step();
        });
        inside.start(5);
        ++running_;
        QString fault;
        try {
            perform(command);
            letTimePass(0);
            fault = prompt_.fault();
            if (options_.echo && fault.isEmpty()) echo(command);
        } catch (const Failure& failure) {
            fault = failure.sentence;
        } catch (const ScriptError& error) {
            fault = error.sentence;
        }
        --running_;
        if (!fault.isEmpty()) fail(command, fault);
        if (running_ > 0 && !QApplication::activeModalWidget()) return; // the dialog is closed: back to who opened it
    }
    if (failed_)
        if (QWidget* dialog = QApplication::activeModalWidget()) dialog->close();
}

void Player::fail(const Command& command, const QString& fault)
{
    if (failed_) return;
    failed_ = true;
    std::fprintf(stderr, "%s:%d: %s %s: %s\n", qUtf8Printable(command.file), command.line, qUtf8Printable(command.word),
                 qUtf8Printable(command.arguments.join(u' ')), qUtf8Printable(fault));
}

void Player::perform(const Command& command)
{
    using Arguments = const QStringList&;
    static const QHash<QString, void (*)(Player&, Arguments)> commands = {
        {"click", [](Player& p, Arguments a) { p.click(a[0]); }},
        {"keys", [](Player& p, Arguments a) { p.keys(a[0]); }},
        {"key", [](Player& p, Arguments a) { p.key(a[0]); }},
        {"scale", [](Player& p, Arguments a) { p.scale(a[0]); }},
        {"send", [](Player& p, Arguments a) { p.send(a[0]); }},
        {"unplug", [](Player& p, Arguments) { p.unplug(); }},
        {"plug", [](Player& p, Arguments) { p.plug(); }},
        {"pick", [](Player& p, Arguments a) { p.pick(a[0]); }},
        {"choose", [](Player& p, Arguments a) { p.choose(a[0], a[1]); }},
        {"menu", [](Player& p, Arguments a) { p.menu(a[0]); }},
        {"date", [](Player& p, Arguments a) { p.date(a[0], a[1]); }},
        {"message", [](Player& p, Arguments a) { contains(p.prompt_.lastMessage(), a[0], u"a message"_s); }},
        {"status", [](Player& p, Arguments a) { contains(p.form_->status->text(), a[0], u"a status line"_s); }},
        {"line", [](Player& p, Arguments a) { p.line(a[0]); }},
        {"expect", [](Player& p, Arguments a) { p.expect(a[0], a[1], a[2]); }},
        {"cell", [](Player& p, Arguments a) { p.cell(a[0].toInt(), a[1].toInt(), a[2]); }},
        {"table", [](Player& p, Arguments a) { p.table(a[0], a[1].toInt()); }},
        {"report", [](Player& p, Arguments a) { p.report(a[0], a[1], a[2]); }},
        {"printed", [](Player& p, Arguments a) { same(QString::number(p.printer_->printed()), a[0]); }},
        {"print-has", [](Player& p, Arguments a) { p.printHas(a[0]); }},
        {"setting", [](Player& p, Arguments a) { p.setting(a[0], a[1], a[2]); }},
        {"activate", [](Player& p, Arguments) { p.form_->activated(); }},
        {"close", [](Player& p, Arguments) { p.close(); }},
        {"start", [](Player& p, Arguments) { p.start(); }},
        {"shot", [](Player& p, Arguments a) { p.shot(a[0]); }},
        {"wait", [](Player&, Arguments a) { letTimePass(a[0].toInt()); }},
        {"await", [](Player& p, Arguments a) { p.await(a[0]); }},
    };
    // A question without an answer must not stay open: it was answered with "no" and is a fault.
    if (command.word == "answer") return prompt_.answerNext(command);
    commands[command.word](*this, command.arguments);
}

void Player::start()
{
    if (form_) throw Failure{u"the screen is open already"_s};
    const app::Surroundings surroundings{
        .prompt = prompt_,
        .settings = *settings_,
        .regional = base::Regional::system(),
        .directory = options_.directory,
        .executable = u"presva"_s,
        .databases = databases_,
        .printer = *printer_,
        .slips = *slips_,
        .weights = *weights_,
        .keyboard = *keyboard_,
        .now = [offset = clockOffset_] { return QDateTime::currentDateTime().addMSecs(offset); },
        .backups = backups_.get(),
    };
    form_ = std::make_unique<app::Form1>(surroundings);
    form_->start();
    server_ = app::lineToServer(*form_, databases_);
    if (!QTest::qWaitForWindowExposed(form_.get(), 5000)) throw Failure{u"the screen does not show"_s};
    letTimePass(0);
}

void Player::close()
{
    if (!form_) throw Failure{u"the screen is closed already"_s};
    form_->close();
    server_.reset();
    form_.reset();
}

QWidget* Player::window() const
{
    if (QWidget* dialog = QApplication::activeModalWidget()) return dialog;
    if (!form_) throw Failure{u"the screen is closed"_s};
    return form_.get();
}

QObject* Player::find(const QString& control) const
{
    QObject* found = window()->objectName() == control ? window() : window()->findChild<QObject*>(control);
    if (!found && form_) found = form_->findChild<QObject*>(control);
    if (!found) throw Failure{u"there is no control '%1'"_s.arg(control)};
    return found;
}

void Player::click(const QString& control)
{
    QObject* object = find(control);
    if (qobject_cast<QAction*>(object)) throw Failure{u"'%1' is a menu item: use menu"_s.arg(control)};
    clickWidget(qobject_cast<QWidget*>(object), control);
}

void Player::clickWidget(QWidget* widget, const QString& name)
{
    if (!widget) throw Failure{u"'%1' cannot be clicked"_s.arg(name)};
    if (!widget->isVisible()) throw Failure{u"'%1' is not on the screen"_s.arg(name)};
    if (!widget->isEnabled()) throw Failure{u"'%1' is disabled"_s.arg(name)};
    QWidget* top = widget->window();
    const QPoint middle = widget->mapTo(top, widget->rect().center());
    QWidget* there = top->childAt(middle);
    while (there && there != widget) there = there->parentWidget();
    if (!there || !top->rect().contains(middle)) throw Failure{u"'%1' is covered"_s.arg(name)};
    if (app::inputBlocked(widget)) throw Failure{u"'%1' lies in a disabled frame"_s.arg(name)};
    QTest::mouseMove(top->windowHandle(), middle);
    QTest::mouseClick(top->windowHandle(), Qt::LeftButton, Qt::NoModifier, middle);
    letTimePass(0);
}

void Player::key(const QString& caption)
{
    for (app::KeyLabel* key : form_->Label1)
        if (base::trimBlanks(key->caption()) == caption) return clickWidget(key, key->objectName());
    throw Failure{u"the keypad shows no key '%1' now"_s.arg(caption)};
}

void Player::keys(const QString& text)
{
    for (const QChar letter : text) key(letter == u' ' ? u"Boşluk"_s : QString(letter));
}

void Player::scale(const QString& text)
{
    if (!line_->open()) throw Failure{u"there is no line: com1 of the folder is taken"_s};
    if (!form_->TeraziComm->portOpen()) throw Failure{u"the port is closed"_s};
    // A line that comes right after the opening might be the tail of one under way, and would be dropped.
    if (!QTest::qWaitFor([&] { return form_->TeraziComm->hearsWholeLines(); }, 2000))
        throw Failure{u"the line does not come to rest"_s};
    const int before = form_->scaleEvents();
    line_->send(unescape(text));
    if (!QTest::qWaitFor([&] { return form_->scaleEvents() != before; }, 2000))
        throw Failure{u"the scale's bytes did not arrive"_s};
    letTimePass(0);
}

void Player::send(const QString& text)
{
    if (!line_->open()) throw Failure{u"there is no line: com1 of the folder is taken"_s};
    line_->send(unescape(text));
}

void Player::unplug()
{
    if (!line_->open()) throw Failure{u"there is no line that could be unplugged"_s};
    const bool wasPluggedIn = form_->TeraziComm->isPluggedIn();
    line_->unplug();
    if (wasPluggedIn) waitForPlug(false);
}

void Player::plug()
{
    const bool breaks = line_->open() && form_->TeraziComm->isPluggedIn();
    if (!line_->plug()) throw Failure{u"there is no line: com1 of the folder is taken"_s};
    if (breaks) waitForPlug(false);
    if (form_->TeraziComm->portOpen()) waitForPlug(true);
}

void Player::waitForPlug(bool in)
{
    if (!QTest::qWaitFor([&] { return form_->TeraziComm->isPluggedIn() == in; }, 2000))
        throw Failure{in ? u"the line does not come back"_s : u"nobody has noticed that the plug is out"_s};
    letTimePass(0);
}

void Player::pick(const QString& text)
{
    app::SearchList* list = form_->dbListe1;
    if (!list->isVisible()) throw Failure{u"the list is not shown"_s};
    for (int row = 0; row < list->rowCount(); ++row)
        if (list->rowText(row) == text) return list->pick(row);
    throw Failure{u"the list has no entry '%1'"_s.arg(text)};
}

void Player::choose(const QString& control, const QString& entry)
{
    auto* list = qobject_cast<QComboBox*>(find(control));
    if (!list) throw Failure{u"'%1' is not a list"_s.arg(control)};
    if (!list->isEnabled() || app::inputBlocked(list) || !list->isVisible())
        throw Failure{u"'%1' cannot be reached"_s.arg(control)};
    for (int i = 0; i < list->count(); ++i)
        if (list->itemText(i).trimmed() == entry) return list->setCurrentIndex(i);
    throw Failure{u"'%1' has no entry '%2'"_s.arg(control, entry)};
}

void Player::menu(const QString& item)
{
    auto* action = qobject_cast<QAction*>(find(item));
    if (!action) throw Failure{u"there is no menu item '%1'"_s.arg(item)};
    if (!action->isEnabled()) throw Failure{u"the menu item '%1' is disabled"_s.arg(item)};
    if (form_->Dosya->actions().contains(action) && !form_->Dosya->isEnabled())
        throw Failure{u"the menu Dosya is disabled"_s};
    action->trigger();
}

void Player::date(const QString& control, const QString& day)
{
    auto* picker = qobject_cast<app::DatePicker*>(find(control));
    if (!picker) throw Failure{u"'%1' is not a date picker"_s.arg(control)};
    const QDate value = QDate::fromString(day, Qt::ISODate);
    if (!value.isValid()) throw Failure{u"'%1' is not a day"_s.arg(day)};
    if (!picker->isVisible()) throw Failure{u"'%1' is not on the screen"_s.arg(control)};
    form_->run([&] { picker->setValue(value); });
}

QString Player::property(const QString& control, const QString& name) const
{
    QObject* object = find(control);
    if (auto* item = qobject_cast<app::MenuItem*>(object)) {
        if (name == "caption" || name == "text") return item->caption();
        if (name == "checked") return yesNo(item->checked());
        if (name == "enabled") return yesNo(item->isEnabled());
        if (name == "visible") return yesNo(item->isVisible());
    }
    if (auto* menu = qobject_cast<QMenu*>(object)) {
        if (name == "caption" || name == "text") return menu->title().remove(u'&');
        if (name == "enabled") return yesNo(menu->isEnabled());
    }
    auto* widget = qobject_cast<QWidget*>(object);
    if (!widget) throw Failure{u"'%1' has no property '%2'"_s.arg(control, name)};
    if (name == "visible") return yesNo(!widget->isHidden());
    if (name == "width") return QString::number(app::twips::fromPixels(widget->width()));

    if (auto* label = qobject_cast<app::CaptionLabel*>(widget)) {
        if (name == "caption" || name == "text") return label->caption();
        if (name == "background") return app::painted(label->backColor(), widget->palette()).name();
        if (name == "enabled") return yesNo(label->enabled());
        if (auto* check = qobject_cast<app::CheckButton*>(label); check && name == "checked")
            return yesNo(check->value());
        if (auto* option = qobject_cast<app::OptionButton*>(label); option && name == "checked")
            return yesNo(option->value());
    }
    if (auto* frame = qobject_cast<app::ControlFrame*>(widget)) {
        if (name == "caption" || name == "text") return frame->caption();
        if (name == "background") return app::painted(frame->backColor(), widget->palette()).name();
        if (name == "enabled") return yesNo(frame->enabled());
    }
    if (auto* list = qobject_cast<app::SearchList*>(widget)) {
        if (name == "rows" || name == "entries") return QString::number(list->rowCount());
        if (name == "text") return list->text();
    }
    if (auto* list = qobject_cast<QComboBox*>(widget)) {
        if (name == "text" || name == "caption") return list->currentText();
        if (name == "entries") return QString::number(list->count());
    }
    if (auto* grid = qobject_cast<QTableView*>(widget)) {
        if (name == "rows") return QString::number(grid->model() ? grid->model()->rowCount() : 0);
        if (name == "columns") return QString::number(grid->model() ? grid->model()->columnCount() : 0);
    }
    if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
        if (name == "caption" || name == "text") return button->text().remove(u'&');
        if (name == "checked") return yesNo(button->isChecked());
    }
    if (auto* label = qobject_cast<QLabel*>(widget))
        if (name == "text" || name == "caption") return label->text();
    if (name == "enabled") return yesNo(!widget->testAttribute(Qt::WA_ForceDisabled));
    if (name == "caption" || name == "text") return widget->windowTitle();
    throw Failure{u"'%1' has no property '%2'"_s.arg(control, name)};
}

void Player::expect(const QString& control, const QString& name, const QString& value)
{
    const QString found = property(control, name);
    same(name == "background" ? found.toLower() : found, name == "background" ? value.toLower() : value);
}

void Player::cell(int row, int column, const QString& value)
{
    const QAbstractItemModel* model = form_->DBGrid1->model();
    if (!model) throw Failure{u"the grid has no rows yet"_s};
    const int at = row < 0 ? model->rowCount() + row : row;
    if (at < 0 || at >= model->rowCount() || column < 0 || column >= model->columnCount())
        throw Failure{u"the grid has %1 rows and %2 columns"_s.arg(model->rowCount()).arg(model->columnCount())};
    same(model->index(at, column).data().toString(), value);
}

QString Player::databaseFile() const { return options_.directory + u'/' + mill::text(mill::databaseFile); }

void Player::table(const QString& name, int count)
{
    const std::shared_ptr<store::Engine> database =
        databases_.open(form_ ? form_->DataCari.databaseName() : databaseFile());
    const std::size_t found = database->open(name).rows.size();
    if (found != static_cast<std::size_t>(count)) throw Failure{u"expected %1 rows, found %2"_s.arg(count).arg(found)};
}

void Player::report(const QString& first, const QString& last, const QString& customer)
{
    const QDate from = QDate::fromString(first, Qt::ISODate), to = QDate::fromString(last, Qt::ISODate);
    if (!from.isValid() || !to.isValid()) throw Failure{u"a report needs two days and a name or \"\""_s};
    const QAbstractItemModel* grid = form_ ? form_->DBGrid1->model() : nullptr;
    if (!grid) throw Failure{u"the grid has no rows yet"_s};
    const QString difference = differenceFromReport(form_->GünData.database(), *grid, from, to, customer);
    if (!difference.isEmpty()) throw Failure{difference};
}

void Player::printHas(const QString& text)
{
    const std::optional<QString> printed = textOfPdf(printer_->lastPdf());
    if (!printed) throw Failure{u"pdftotext (Debian package poppler-utils) is needed to read a printout"_s};
    contains(*printed, text.simplified(), u"a printout"_s);
}

void Player::setting(const QString& section, const QString& key, const QString& value)
{
    const QString application = section == "SizeKlv"_L1 ? u"presva"_s : u"Mendrik Presva"_s;
    same(settings_->get(application, section, key, u"(none)"_s), value);
}

void Player::line(const QString& text)
{
    QFile book(QDir(options_.directory).filePath(u"Tartim.jsonl"_s));
    if (!book.open(QIODevice::ReadOnly)) throw Failure{u"there is no book of weights"_s};
    contains(QString::fromUtf8(book.readAll()).trimmed().section(u'\n', -1), text, u"a last line"_s);
}

void Player::await(const QString& file)
{
    if (!QTest::qWaitFor([&] { return QFile::exists(QDir(options_.directory).filePath(file)); }, 60000))
        throw Failure{u"the file does not come"_s};
}

void Player::shot(const QString& name)
{
    if (options_.shots.isEmpty()) return;
    QDir().mkpath(options_.shots);
    QPixmap picture = form_->grab();
    if (QWidget* dialog = QApplication::activeModalWidget()) {
        QPainter painter(&picture);
        painter.drawPixmap(form_->mapFromGlobal(dialog->pos()), dialog->grab());
    }
    const QString path = options_.shots + u'/' + name + u".png"_s;
    if (!picture.save(path)) throw Failure{u"the picture %1 could not be written"_s.arg(path)};
}

} // namespace scenario
