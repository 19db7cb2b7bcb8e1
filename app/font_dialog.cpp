#include "app/font_dialog.h"
#include "app/command_button.h"
#include "app/painting.h"
#include "app/search_list.h"
#include "base/numbers.h"
#include <QFontDatabase>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace app {

namespace {

constexpr double smallest = 4;
constexpr double largest = 72;

} // namespace

FontDialog::FontDialog(const FontChoice& preset, QWidget* owner) : QDialog(owner), choice_(preset)
{
    setObjectName(u"CommonDialog1"_s);
    setWindowTitle(u"Yazı Tipi"_s);
    names_ = QFontDatabase::families();
    if (!names_.contains(choice_.name)) names_.prepend(choice_.name);

    faces = new SearchList(this);
    faces->setObjectName(u"faces"_s);
    faces->setAccessibleName(u"Yazı tipleri"_s);
    faces->setRows([this] { return static_cast<int>(names_.size()); }, [this](int row) { return names_[row]; });
    faces->choose(static_cast<int>(names_.indexOf(choice_.name)));
    faces->onClick([this] {
        choice_.name = faces->text();
        update();
    });

    const auto button = [this](const QString& caption, const char* name, const Action& click) {
        auto* made = new CommandButton(this, caption);
        made->setObjectName(QString::fromLatin1(name));
        made->onClick(click);
        return made;
    };
    smaller = button(u"−"_s, "smaller", [this] { changeSize(choice_.size - 0.5); });
    smaller->setSpokenName(u"Küçült"_s);
    larger = button(u"+"_s, "larger", [this] { changeSize(choice_.size + 0.5); });
    larger->setSpokenName(u"Büyüt"_s);
    ok = button(u"Tamam"_s, "ok", [this] { accept(); });
    ok->setMain(true);
    cancel = button(u"İptal"_s, "cancel", [this] { reject(); });

    const auto check = [this](const QString& caption, const char* name, bool& flag) {
        auto* made = new CheckButton(this, caption);
        made->setObjectName(QString::fromLatin1(name));
        made->showValue(flag);
        made->onClick([this, made, &flag] {
            flag = made->value();
            update();
        });
        return made;
    };
    bold = check(u"Kalın"_s, "bold", choice_.bold);
    italic = check(u"Eğik"_s, "italic", choice_.italic);

    const QSize room = owner ? owner->size() : QSize(1024, 768);
    ok->setFocus();
    resize(room.width() * 62 / 100, room.height() * 62 / 100);
}

void FontDialog::changeSize(double points)
{
    choice_.size = static_cast<float>(std::clamp(points, smallest, largest));
    update();
}

void FontDialog::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    arrange();
}

void FontDialog::arrange()
{
    const int gap = height() / 40;
    const int row = std::max(height() / 8, 48);
    const int text = row * 2 / 5;
    const int left = width() * 48 / 100;
    faces->setFont(painting::sized(font(), text, false));
    faces->setRowHeight(std::max(row * 9 / 10, 44));
    faces->move(gap, gap);
    faces->resize(left - gap, height() - 2 * gap);

    const int x = left + gap;
    const int all = width() - x - gap;
    const int half = (all - gap) / 2;
    smaller->setGeometry(x, gap, row, row);
    larger->setGeometry(x + all - row, gap, row, row);
    sizeArea_ = QRect(x + row, gap, all - 2 * row, row);
    bold->setGeometry(x, 2 * gap + row, half, row);
    italic->setGeometry(x + all - half, 2 * gap + row, half, row);
    ok->setGeometry(x, height() - gap - row, half, row);
    cancel->setGeometry(x + all - half, height() - gap - row, half, row);
    const int sampleTop = 3 * gap + 2 * row;
    sampleArea_ = QRect(x, sampleTop, all, ok->y() - gap - sampleTop);
    for (CommandButton* button :
         {smaller, larger, ok, cancel, static_cast<CommandButton*>(bold), static_cast<CommandButton*>(italic)})
        button->setFont(painting::sized(font(), text, true));
}

void FontDialog::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painting::box(painter, rect(), palette().color(QPalette::Window), painting::strongLine, 2, 0);
    painter.setPen(painting::ink);
    painter.setFont(painting::sized(font(), sizeArea_.height() * 2 / 5, true));
    const QString points = base::numberToText(choice_.size, base::Regional::system());
    painter.drawText(sizeArea_, Qt::AlignCenter, points + u" punto"_s);

    painting::box(painter, sampleArea_, Qt::white, painting::line);
    QFont sample(choice_.name);
    sample.setPointSizeF(choice_.size);
    sample.setBold(choice_.bold);
    sample.setItalic(choice_.italic);
    painter.setFont(sample);
    painter.setPen(painting::ink);
    painter.drawText(sampleArea_.adjusted(8, 8, -8, -8), Qt::AlignCenter | Qt::TextWordWrap,
                     u"Sıkılan Zeytin Yağı\n1.234,50 KG\nĞÜŞİÖÇ ğüşıöç"_s);
}

} // namespace app
