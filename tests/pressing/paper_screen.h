#pragma once

#include "base/error.h"
#include "mill/queries.h"
#include "pressing/containers.h"
#include "pressing/fraction.h"
#include "pressing/keypad.h"
#include "pressing/rules.h"
#include "pressing/weight_origins.h"

#include <QStringList>
#include <array>

using namespace Qt::StringLiterals;

/// A screen without a window: captions in an array, change events run at once and are written down with their nesting.
class PaperScreen : public pressing::StationScreen, public pressing::KeypadScreen {
public:
    using Field = pressing::Field;

    explicit PaperScreen(const base::Regional& regional) : regional_(regional)
    {
        for (auto& station : captions_)
            for (QString& text : station) text = QString();
        captions_[0][0] = captions_[1][0] = mill::customerPrompt;
        for (int k = 0; k < pressing::keyCount; ++k) keys_[k] = pressing::keyCaptions()[k];
    }

    /// Puts a caption without firing anything, as a start state.
    void put(Field field, const QString& text, int station = 0) { captions_[station][int(field)] = text; }
    void putActive(Field field, int station = 0)
    {
        activeField = field;
        activeStation = station;
    }
    /// Takes the entitlement without running any rule.
    void putEntitlement(bool on, int station = 0)
    {
        switchCaption[station] = on ? pressing::entitlementOn : pressing::entitlementOff;
        frame3[station] = taken[station] = on;
    }
    QStringList takeEvents() { return std::exchange(events_, {}); }

    const base::Regional& regional() const override { return regional_; }
    QString caption(Field field, int station) const override { return captions_.at(check(station))[int(field)]; }
    void setCaption(Field field, int station, const QString& text) override
    {
        QString& now = captions_.at(check(station))[int(field)];
        if (now == text) return;
        events_ << u"%1 %2 %3>%4"_s.arg(++depth_).arg(pressing::nameOf(field), now, text);
        now = text;
        struct Leave {
            int& depth;
            ~Leave() { --depth; }
        } leave{depth_};
        deepest = qMax(deepest, depth_);
        switch (field) {
        case Field::Label2:
            return pressing::olivesChanged(*this, station);
        case Field::Label3:
            return pressing::oilChanged(*this, station);
        case Field::Haklbl:
            return pressing::percentageChanged(*this, station);
        case Field::HakTut:
            return pressing::entitlementChanged(*this, station);
        case Field::NakitLbl:
            return pressing::feeChanged(*this, station);
        case Field::Label4:
            return pressing::containerCaptionChanged(*this, station);
        case Field::TxtLbl:
        case Field::Verilen:
            return;
        }
    }
    void putBack(Field field, int station, const QString& text) override { put(field, text, station); }
    const pressing::WeightOrigins& origins() const override { return kept; }
    void putBack(const pressing::WeightOrigins& origins) override { kept = origins; }
    bool isHighlighted(Field field, int station) const override
    {
        return field == activeField && station == activeStation;
    }
    QString activeName() const override { return pressing::nameOf(activeField); }
    QString activeCaption() const override { return caption(activeField, activeStation); }
    void setActiveCaption(const QString& text) override { setCaption(activeField, activeStation, text); }
    void edit(Field field, int station) override
    {
        pressing::finishFraction(*this);
        putActive(field, station);
    }
    int currentStation() const override { return current; }
    bool printingEnabled(int station) const override { return printing.at(check(station)); }
    void enablePrinting(int station, bool enabled) override { printing.at(check(station)) = enabled; }
    QString entitlementCaption(int station) const override { return switchCaption.at(check(station)); }
    void setEntitlementCaption(int station, const QString& text) override { switchCaption.at(check(station)) = text; }
    bool entitlementShown(int station) const override { return frame3.at(check(station)); }
    void showEntitlement(int station, bool shown) override { frame3.at(check(station)) = shown; }
    bool entitlementTaken(int station) const override { return taken.at(check(station)); }
    void setEntitlementTaken(int station, bool on) override { taken.at(check(station)) = on; }
    int containerKind(int station) const override { return kind.at(check(station)); }
    void setContainerKind(int station, int position) override { kind.at(check(station)) = position; }
    float containers(int station) const override { return count.at(check(station)); }
    void setContainers(int station, float n) override { count.at(check(station)) = n; }
    void centreContainerCaption(int station) override { ++centred.at(check(station)); }
    void showContainerPanel(int station, bool shown) override { panel.at(check(station)) = shown; }

    QString keyCaption(int key) const override { return keys_[key]; }
    bool stationFrameEnabled() const override { return frameEnabled; }
    bool reportPanelShown() const override { return reportShown; }
    bool capitals() const override { return caps; }
    void toggleCapitals() override
    {
        caps = !caps;
        for (int k = 0; k < pressing::letterKeyCount; ++k) keys_[k] = pressing::letterCaption(k, keys_[k], caps);
        keys_[pressing::keys::letterCase] = pressing::caseKeyCaption(caps);
    }
    void IlkHarfBuyut() override
    {
        if (titleCase) setActiveCaption(titleCase(activeCaption()));
    }

    pressing::WeightOrigins kept; ///< where the weights come from, as far as a test says so
    Field activeField = Field::TxtLbl;
    int activeStation = 0;
    int current = 0;
    bool frameEnabled = true, reportShown = false, caps = true;
    int deepest = 0;
    std::array<bool, 2> printing{}, frame3{}, taken{}, panel{};
    std::array<float, 2> count{};
    std::array<int, 2> centred{};
    std::array<int, 2> kind{-1, -1};
    std::array<QString, 2> switchCaption{pressing::entitlementOff, pressing::entitlementOff};
    QString (*titleCase)(const QString&) = nullptr;

private:
    static std::size_t check(int station)
    {
        if (station < 0 || station > 1) throw base::runtimeError(base::errors::noControl);
        return std::size_t(station);
    }

    base::Regional regional_;
    std::array<std::array<QString, 8>, 2> captions_;
    std::array<QString, pressing::keyCount> keys_;
    QStringList events_;
    int depth_ = 0;
};
