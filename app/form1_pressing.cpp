// Pressing entry: fields chosen by touch, the keypad, and what follows from a changed display.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "base/error.h"
#include "base/pass_over.h"
#include "mill/queries.h"
#include "pressing/containers.h"
#include "pressing/keypad.h"
#include "pressing/rules.h"

using namespace Qt::StringLiterals;

namespace app {

void Form1::wireCounter()
{
    for (int i = 0; i < Label1.size(); ++i) {
        Label1[i]->onClick([this, i] { Label1_Click(i); });
        Label1[i]->onMouseMove([this, i] { Label1_MouseMove(i); });
    }
    for (int i = 0; i < pressing::stationCount; ++i) {
        Label2[i]->onClick([this, i] { Label2_Click(i); });
        Label2[i]->onChange([this, i] { Label2_Change(i); });
        Label3[i]->onClick([this, i] { Label3_Click(i); });
        Label3[i]->onChange([this, i] { Label3_Change(i); });
        Haklbl[i]->onClick([this, i] { Haklbl_Click(i); });
        Haklbl[i]->onChange([this, i] { Haklbl_Change(i); });
        HakTut[i]->onChange([this, i] { HakTut_Change(i); });
        NakitLbl[i]->onClick([this, i] { NakitLbl_Click(i); });
        NakitLbl[i]->onChange([this, i] { NakitLbl_Change(i); });
        HakCmd[i]->onClick([this, i] { HakCmd_Click(i); });
        KapFrm[i]->onClick([this, i] { KapFrm_Click(i); });
        Label4[i]->onClick([this, i] { Label4_Click(i); });
        Label4[i]->onChange([this, i] { Label4_Change(i); });
        YazCmd[i]->onClick([this, i] { YazCmd_Click(i); });
        YeniCmd[i]->onClick([this, i] { YeniCmd_Click(i); });
        TxtLbl[i]->onClick([this, i] { TxtLbl_Click(i); });
        TxtLbl[i]->onChange([this, i] { TxtLbl_Change(i); });
    }
    dbListe1->onClick([this] { dbListe1_Click(); });
    Kaydet->onClick([this] { Kaydet_Click(); });
    CariSil->onClick([this] { CariSil_Click(); });
    HesapSil->onClick([this] { HesapSil_Click(); });
    YazFont->onClick([this] { YazFont_Click(); });
    Sayac->onClick([this] { Sayac_Click(); });
}

void Form1::askForCustomerFirst(int Index)
{
    if (!pressing::wantsCustomerFirst(*counter_, Index)) return;
    TxtLbl[Index]->setCaption(mill::customerPrompt);
    activate(TxtLbl[Index]);
}

void Form1::Label1_Click(int Index) { pressing::keyPressed(*counter_, *counter_, Index); }

void Form1::Label1_MouseMove(int Index)
{
    if (Label1[Index]->backColor() != colour::yellow) {
        Command1->setBackColor(colour::cyan);
        Label1[static_cast<int>(SonTus)]->setBackColor(colour::cyan);
        Label1[Index]->setBackColor(colour::yellow);
    }
    SonTus = static_cast<float>(Index);
}

void Form1::Label2_Click(int Index)
{
    activate(Label2[Index]);
    askForCustomerFirst(Index);
}

void Form1::Label3_Click(int Index)
{
    activate(Label3[Index]);
    askForCustomerFirst(Index);
}

void Form1::Haklbl_Click(int Index) { activate(Haklbl[Index]); }
void Form1::NakitLbl_Click(int Index) { activate(NakitLbl[Index]); }

void Form1::Label2_Change(int Index)
{
    origins_.olivesChanged(Index, [&] { pressing::olivesChanged(*counter_, Index); });
}

QString Form1::stationMarks() const
{
    if (AktifKontrol == 999) return {};
    QStringList marks{pressing::typedMark(*counter_, origins_, station()), pressing::shareMark(*counter_, station())};
    marks.removeAll(QString());
    return marks.join(u"   ·   "_s);
}

void Form1::Label3_Change(int Index)
{
    origins_.oilChanged(Index);
    pressing::oilChanged(*counter_, Index);
}

void Form1::Haklbl_Change(int Index) { pressing::percentageChanged(*counter_, Index); }
void Form1::HakTut_Change(int Index) { pressing::entitlementChanged(*counter_, Index); }
void Form1::NakitLbl_Change(int Index)
{
    if (recalling_) return pressing::feeRecalled(*counter_, Index);
    pressing::feeChanged(*counter_, Index);
}

void Form1::HakCmd_Click(int Index)
{
    const auto error = base::passOver([&] { pressing::entitlementSwitched(*counter_, Index); });
    if (!error) return;
    // A name that reads as a number may have been written anew, and searched, before all of it was taken back.
    if (error->number() == base::errors::overflow) endNameTyping();
    throw base::RuntimeError(*error);
}

void Form1::KapFrm_Click(int Index) { pressing::containerFilled(*counter_, Index); }
void Form1::Label4_Click(int Index) { pressing::containerFilled(*counter_, Index); }
void Form1::Label4_Change(int Index) { pressing::containerCaptionChanged(*counter_, Index); }

} // namespace app
