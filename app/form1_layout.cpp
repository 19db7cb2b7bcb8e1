#include "app/form1.h"
#include "app/painting.h"
#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

// Where the controls stand. Everything is laid out for 1024 x 768 and grows with the window; nothing that a finger has
// to hit gets smaller than 48 pixels there. The numbers in this file are pixels of that size.

namespace app {

namespace {

constexpr int designWidth = 1024;
constexpr int designHeight = 768;

double scaleOf(const QSize& size)
{
    return std::min(size.width() / double(designWidth), size.height() / double(designHeight));
}

struct Scale {
    double factor;
    int operator()(double pixels) const { return static_cast<int>(std::lround(pixels * factor)); }
};

void setText(QWidget* control, int pixels, bool bold = true)
{
    control->setFont(painting::sized(control->font(), pixels, bold));
}

constexpr int titleText = 14;

} // namespace

void Form1::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    arrange();
}

void Form1::arrange()
{
    const Scale px{scaleOf(size())};
    const int menuHeight = std::max(px(44), 40);
    const int exitWidth = px(64);
    setText(menuStrip, px(17), false);
    setText(Dosya, px(19), false);
    menuStrip->setStyleSheet(u"QMenuBar{background:#FFFFFF;border-bottom:1px solid #B0BABF;spacing:0;}"
                             "QMenuBar::item{padding:%1px %2px;color:#10181C;background:transparent;}"
                             "QMenuBar::item:selected{background:#D5E3EA;}"
                             "QMenuBar::item:disabled{color:#5A6469;}"_s.arg((menuHeight - px(17) * 13 / 10) / 2)
                                 .arg(px(13)));
    Dosya->setStyleSheet(u"QMenu{background:#FFFFFF;border:1px solid #78909C;}"
                         "QMenu::item{padding:%1px %2px;color:#10181C;}"
                         "QMenu::item:selected{background:#D5E3EA;}"_s.arg(px(14))
                             .arg(px(24)));
    menuStrip->setGeometry(0, 0, width() - exitWidth, menuHeight);
    Frame2->setGeometry(width() - exitWidth, 0, exitWidth, menuHeight);
    Command1->setGeometry(px(3), px(2), exitWidth - px(6), menuHeight - px(4));

    const int statusHeight = px(28);
    status->setGeometry(0, height() - statusHeight, width(), statusHeight);
    setText(status, px(15), false);
    setText(Kaydet, px(19));

    arrangeKeypad();
    for (int Index = 0; Index < Frame1.size(); ++Index) arrangeStation(Index);
    arrangeReportPanel();
    adjustPlaces();
    if (Frame4->visible())
        moveListToPanel();
    else if (AktifKontrol < 2)
        moveListToStation(station());
}

void Form1::arrangeKeypad()
{
    const Scale px{scaleOf(size())};
    const int gap = px(4);
    const int margin = px(8);
    const int keyHeight = std::max(px(58), 48);
    const int bottom = status->y() - px(6);
    const int top = bottom - 4 * keyHeight - 3 * gap;
    keypadTop_ = top - px(6);

    // Letters left for one hand, figures right for the other: 11 columns, a gap, 3 columns, and a wide one.
    constexpr int letterColumns = 11;
    constexpr double wideColumn = 1.35;
    const int blockGap = px(14);
    const double key = (width() - 2 * margin - blockGap - 13 * gap - 0.0) / (letterColumns + 3 + wideColumn);
    const auto x = [&](double column) { return margin + static_cast<int>(std::lround(column * (key + gap))); };
    const int digitsLeft = x(letterColumns) - gap + blockGap;
    const auto digitX = [&](int column) { return digitsLeft + static_cast<int>(std::lround(column * (key + gap))); };
    const auto y = [&](int row) { return top + row * (keyHeight + gap); };
    const auto place = [&](QWidget* control, int left, int right, int row, int rows = 1) {
        control->setGeometry(left, y(row), right - left, rows * keyHeight + (rows - 1) * gap);
    };
    const auto letter = [&](int Index, int row, int column, int columns = 1) {
        place(Label1[Index], x(column), x(column + columns) - gap, row);
        setText(Label1[Index], px(26));
    };
    const auto digit = [&](int Index, int row, int column) {
        place(Label1[Index], digitX(column), digitX(column + 1) - gap, row);
        setText(Label1[Index], px(28));
    };

    for (int Index = 0; Index < 32; ++Index) letter(Index, Index / letterColumns, Index % letterColumns);
    letter(48, 2, 10);
    letter(47, 3, 0, 2);
    letter(34, 3, 2, 7);
    setText(Label1[34], px(20));
    place(GünlükCmd, x(9), x(11) - gap, 3);
    setText(GünlükCmd, px(20));

    // As on a calculator: 7 8 9 above. Keys 36 to 45 carry "0", then "9" down to "1".
    for (int figure = 1; figure <= 9; ++figure) digit(46 - figure, 2 - (figure - 1) / 3, (figure - 1) % 3);
    digit(36, 3, 0);
    digit(35, 3, 1);
    digit(32, 3, 2);
    const int right = width() - margin;
    place(Label1[33], digitX(3), right, 0, 2);
    place(Label1[46], digitX(3), right, 2, 2);
    setText(Label1[33], px(22));
    setText(Label1[46], px(22));
}

void Form1::arrangeStation(int Index)
{
    const Scale px{scaleOf(size())};
    const int margin = px(8);
    const int between = px(8);
    const int top = menuStrip->height() + px(6);
    const int frameWidth = (width() - 2 * margin - between) / 2;
    const int frameLeft = margin + Index * (frameWidth + between);
    const int frameHeight = keypadTop_ - top;
    Frame1[Index]->setGeometry(frameLeft, top, frameWidth, frameHeight);

    const int pad = px(12);
    const int gap = px(7);
    const int newCustomerHeight = std::max(px(48), 48);
    const int headline = newCustomerHeight + px(2);
    Frame1[Index]->setHeadline(headline);
    YeniCmd[Index]->setGeometry(frameLeft + pad, top + px(8), px(190), newCustomerHeight);
    setText(YeniCmd[Index], px(19));

    // Rows in parts of what is left below the headline: name, weights, fee and container, entitlement, printing.
    constexpr double parts[] = {58, 84, 58, 82, 58};
    constexpr double allParts = 340;
    const int rowsTop = headline + px(14);
    const double part = (frameHeight - rowsTop - pad - 4 * gap) / allParts;
    int rowTop[5];
    int rowHeight[5];
    double at = rowsTop;
    for (int row = 0; row < 5; ++row) {
        rowTop[row] = static_cast<int>(std::lround(at));
        rowHeight[row] = static_cast<int>(std::lround(at + parts[row] * part)) - rowTop[row];
        at += parts[row] * part + gap;
    }
    const int inner = frameWidth - 2 * pad;
    const int half = (inner - gap) / 2;
    const auto place = [&](QWidget* control, int row, int left, int controlWidth) {
        control->setGeometry(pad + left, rowTop[row], controlWidth, rowHeight[row]);
    };
    const auto valueText = [&](int fieldHeight) {
        return static_cast<int>((fieldHeight - px(titleText) * 1.25 - px(9)) * 0.84);
    };

    place(TxtLbl[Index], 0, 0, inner);
    TxtLbl[Index]->setTextSizes(px(titleText), valueText(rowHeight[0]));
    place(Label2[Index], 1, 0, half);
    place(Label3[Index], 1, inner - half, half);
    for (FieldLabel* weight : {Label2[Index], Label3[Index]})
        weight->setTextSizes(px(titleText), valueText(rowHeight[1]));
    place(NakitLbl[Index], 2, 0, half);
    NakitLbl[Index]->setTextSizes(px(titleText), valueText(rowHeight[2]));
    place(Combo1[Index], 2, inner - half, half);
    Combo1[Index]->setTextSizes(px(titleText), px(20), std::max(px(52), 48));

    const int switchWidth = inner * 30 / 100;
    place(HakCmd[Index], 3, 0, switchWidth);
    setText(HakCmd[Index], px(18));
    place(Frame3[Index], 3, switchWidth + gap, inner - switchWidth - gap);
    setText(Frame3[Index], px(titleText));
    const int captionHeight = Frame3[Index]->fontMetrics().height();
    const int fieldPad = px(6);
    const int fieldWidth = (Frame3[Index]->width() - 4 * fieldPad) / 3;
    const int fieldHeight = rowHeight[3] - captionHeight - fieldPad;
    int fieldLeft = fieldPad;
    for (FieldLabel* field : {Haklbl[Index], HakTut[Index], Verilen[Index]}) {
        field->setGeometry(fieldLeft, captionHeight, fieldWidth, fieldHeight);
        field->setTextSizes(px(titleText), valueText(fieldHeight));
        fieldLeft += fieldWidth + fieldPad;
    }

    place(YazCmd[Index], 4, inner - half, half);
    setText(YazCmd[Index], px(26));

    KapFrm[Index]->setGeometry(frameLeft + pad, top + rowTop[4], half, rowHeight[4]);
    const int cross = std::max(rowHeight[4] - px(8), 44);
    KapCmd[Index]->setGeometry(half - cross - px(4), (rowHeight[4] - cross) / 2, cross, cross);
    setText(Label4[Index], px(28));
    Label4[Index]->setAutoSize(true, half - 2 * (cross + px(8)));
    Label4[Index]->resize(Label4[Index]->width(), rowHeight[4] - px(6));
    Label4[Index]->move(Label4[Index]->x(), px(3));
    Label4[Index]->setLeft((KapFrm[0]->Width() - Label4[Index]->Width()) / 2.0);
}

void Form1::arrangeReportPanel()
{
    const Scale px{scaleOf(size())};
    const int margin = px(8);
    const int top = menuStrip->height() + px(6);
    Frame4->setGeometry(margin, top, width() - 2 * margin, keypadTop_ - top);

    const int pad = px(10);
    const int gap = px(8);
    const int rowHeight = std::max(px(56), 48);
    const double part = (Frame4->width() - 2 * pad - 5 * gap) / 98.0;
    double at = pad;
    const auto next = [&](QWidget* control, double parts) {
        control->setGeometry(static_cast<int>(std::lround(at)), pad, static_cast<int>(std::lround(parts * part)),
                             rowHeight);
        at += parts * part + gap;
    };
    next(Option1[0], 16);
    next(Option1[1], 14);
    next(DTPickerBas, 22);
    next(DTPickerSon, 22);
    next(KapatCmd[1], 12);
    next(KapatCmd[0], 12);
    for (CommandButton* button :
         {static_cast<CommandButton*>(Option1[0]), static_cast<CommandButton*>(Option1[1]), KapatCmd[0], KapatCmd[1]})
        setText(button, px(18));
    for (DatePicker* picker : {DTPickerBas, DTPickerSon}) picker->setTextSizes(px(titleText), px(20));

    const int nameTop = pad + rowHeight + gap;
    const int inner = Frame4->width() - 2 * pad;
    GünLbl->setGeometry(pad, nameTop, inner, rowHeight);
    GünLbl->setTextSizes(px(titleText), px(26));
    const int gridTop = GünLbl->visible() ? nameTop + rowHeight + gap : nameTop;
    DBGrid1->setGeometry(pad, gridTop, inner, Frame4->height() - gridTop - pad);
    // Columns are measured in twips, so their texts have one size on every screen; a larger screen shows more rows.
    DBGrid1->setTextSizes(16, 16, std::clamp(px(40), 36, 44));
}

void Form1::moveListToStation(int Index)
{
    const Scale px{scaleOf(size())};
    setText(dbListe1, px(22), false);
    dbListe1->setRowHeight(std::max(px(50), 48));
    dbListe1->setLeft(Frame1[Index]->Left() + HakCmd[Index]->Left());
    dbListe1->setTop(Frame1[Index]->Top() + Label2[Index]->Top());
    dbListe1->setRoom(Frame1[Index]->width() - 2 * HakCmd[Index]->x(), keypadTop_ - px(10));
}

void Form1::moveListToPanel()
{
    const Scale px{scaleOf(size())};
    setText(dbListe1, px(22), false);
    dbListe1->setRowHeight(std::max(px(50), 48));
    const int belowName = GünLbl->Height() + twips::fromPixels(px(4));
    dbListe1->setTop(Frame4->Top() + GünLbl->Top() + belowName);
    dbListe1->setLeft(Frame4->Left() + DBGrid1->Left());
    dbListe1->setRoom(DBGrid1->width(), keypadTop_ - px(10));
}

void Form1::adjustPlaces()
{
    // The save button stands in the name field of the station that is worked on, which makes room for it.
    const Scale px{scaleOf(size())};
    const int current = AktifKontrol < 2 ? station() : 0;
    const ControlFrame* frame = Frame1[current];
    const int pad = TxtLbl[current]->x();
    const int saveWidth = px(124);
    for (int Index = 0; Index < TxtLbl.size(); ++Index) {
        const bool shared = Kaydet->visible() && Index == current;
        TxtLbl[Index]->resize(frame->width() - 2 * pad - (shared ? saveWidth + px(6) : 0), TxtLbl[Index]->height());
    }
    Kaydet->setGeometry(frame->x() + frame->width() - pad - saveWidth, frame->y() + TxtLbl[current]->y(), saveWidth,
                        TxtLbl[current]->height());
    const int gridTop = GünLbl->visible() ? GünLbl->geometry().bottom() + px(8) : GünLbl->y();
    if (DBGrid1->y() != gridTop) arrangeReportPanel();
}

} // namespace app
