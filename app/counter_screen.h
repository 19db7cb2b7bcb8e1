#pragma once

#include "pressing/keypad.h"
#include "pressing/station_screen.h"

namespace app {

class Form1;

/// The screen as the rules of a pressing see it: their captions, flags and counts are the controls of Form1.
class CounterScreen : public pressing::StationScreen, public pressing::KeypadScreen {
public:
    explicit CounterScreen(Form1& form) : form_(form) {}

    const base::Regional& regional() const override;
    QString caption(pressing::Field field, int station) const override;
    void setCaption(pressing::Field field, int station, const QString& text) override;
    void putBack(pressing::Field field, int station, const QString& text) override;
    const pressing::WeightOrigins& origins() const override;
    void putBack(const pressing::WeightOrigins& origins) override;
    bool isHighlighted(pressing::Field field, int station) const override;
    QString activeName() const override;
    QString activeCaption() const override;
    void setActiveCaption(const QString& text) override;
    void edit(pressing::Field field, int station) override;
    int currentStation() const override;
    bool printingEnabled(int station) const override;
    void enablePrinting(int station, bool enabled) override;
    QString entitlementCaption(int station) const override;
    void setEntitlementCaption(int station, const QString& text) override;
    bool entitlementShown(int station) const override;
    void showEntitlement(int station, bool shown) override;
    bool entitlementTaken(int station) const override;
    void setEntitlementTaken(int station, bool taken) override;
    int containerKind(int station) const override;
    void setContainerKind(int station, int kind) override;
    float containers(int station) const override;
    void setContainers(int station, float count) override;
    void centreContainerCaption(int station) override;
    void showContainerPanel(int station, bool shown) override;

    QString keyCaption(int key) const override;
    bool stationFrameEnabled() const override;
    bool reportPanelShown() const override;
    bool capitals() const override;
    void toggleCapitals() override;
    void IlkHarfBuyut() override;

private:
    Form1& form_;
};

} // namespace app
