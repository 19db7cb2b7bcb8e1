#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

namespace app {

/// The quiet line at the bottom: facts about the scale, the printer and the data file; never a question, and it
/// gates nothing. Setting a fact costs a repaint at most. The age of the last weight is counted by a timer that
/// runs ever more slowly, only while a port is open and the line is shown.
class StatusLine : public QWidget {
    Q_OBJECT

public:
    explicit StatusLine(QWidget* parent);

    void portOpened(int port);
    /// `why` says in a few words why the port is closed although it was to be open; empty: nobody wants it open.
    void portClosed(const QString& why = {});
    /// A weight has just arrived.
    void weightArrived();
    /// What has just arrived is no weight.
    void lineNotUnderstood();
    /// Which weights of the working station were typed; empty: none.
    void setTypedWeights(const QString& mark);
    /// Why what arrives in the chosen format gives no weight; empty: it does.
    void setWhyNoWeight(const QString& why);
    /// The format that lines have which are taken as they are and show something else; empty: all is well.
    void setBetterFormat(const QString& title);
    /// What the operator should know of the last slip or statement; it stands first. Empty: nothing.
    void setNotice(const QString& sentence);
    void setPrinter(const QString& fact);
    void setDataFile(const QString& fact);

    QString text() const; ///< the line as it is shown now

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void refresh();
    void tick();
    QString scaleFact() const;

    int port_ = 0;
    QString whyClosed_;
    bool understood_ = true; ///< the last line
    QString whyNoWeight_;
    QString betterFormat_;
    QElapsedTimer sinceWeight_;
    QTimer ageing_;
    QString notice_;
    QString typedWeights_;
    QString printer_;
    QString dataFile_;
};

} // namespace app
