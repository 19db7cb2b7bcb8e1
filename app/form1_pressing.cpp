// Pressing entry: fields chosen by touch, the keypad, and what follows from a changed display.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "pressing/containers.h"
#include "pressing/keypad.h"
#include "pressing/rules.h"

namespace app {

void Form1::makeActive(CaptionLabel* label)
{
    if (AktifLbl) AktifLbl->setBackColor(colour::white);
    AktifLbl = label;
    AktifLbl->setBackColor(colour::cyan);
}

void Form1::askForCustomerFirst(int Index)
{
    if (!pressing::wantsCustomerFirst(*counter_, Index)) return;
    TxtLbl[Index]->setCaption(pressing::customerPrompt);
    makeActive(TxtLbl[Index]);
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
    makeActive(Label2[Index]);
    askForCustomerFirst(Index);
}

void Form1::Label3_Click(int Index)
{
    makeActive(Label3[Index]);
    askForCustomerFirst(Index);
}

void Form1::Haklbl_Click(int Index) { makeActive(Haklbl[Index]); }
void Form1::NakitLbl_Click(int Index) { makeActive(NakitLbl[Index]); }

void Form1::Label2_Change(int Index) { pressing::olivesChanged(*counter_, Index); }
void Form1::Label3_Change(int Index) { pressing::oilChanged(*counter_, Index); }
void Form1::Haklbl_Change(int Index) { pressing::percentageChanged(*counter_, Index); }
void Form1::HakTut_Change(int Index) { pressing::entitlementChanged(*counter_, Index); }
void Form1::NakitLbl_Change(int Index) { pressing::feeChanged(*counter_, Index); }
void Form1::HakCmd_Click(int Index) { pressing::entitlementSwitched(*counter_, Index); }

void Form1::KapFrm_Click(int Index) { pressing::containerFilled(*counter_, Index); }
void Form1::Label4_Click(int Index) { pressing::containerFilled(*counter_, Index); }
void Form1::Label4_Change(int Index) { pressing::containerCaptionChanged(*counter_, Index); }

bool Form1::HakVar() const { return pressing::entitlementOfCurrent(*counter_); }

} // namespace app
