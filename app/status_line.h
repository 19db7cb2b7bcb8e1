#pragma once

#include "app/control.h"
#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>
#include <QWidget>

namespace app {

/// The quiet line at the bottom: facts about the scale, the printer, the data file and its server; never a question,
/// and it gates nothing. Setting a fact costs a repaint at most. What must be seen stands first until the line is
/// tapped; all else is replaced by what is said next. The age of the last weight is counted by a timer that runs ever
/// more slowly, only while a port is open and the line is shown.
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
    /// What of the working station's figures deserves a second look; empty: nothing.
    void setMarks(const QString& mark) { set(marks_, mark); }
    /// Why what arrives in the chosen format gives no weight; empty: it does.
    void setWhyNoWeight(const QString& why) { set(whyNoWeight_, why); }
    /// The format that lines have which are taken as they are and show something else; empty: all is well.
    void setBetterFormat(const QString& title) { set(betterFormat_, title); }
    /// What the operator should know of the last slip or statement; it stands before the facts. Empty: nothing.
    void setNotice(const QString& sentence) { set(notice_, sentence); }
    /// What the operator must come to see; it stands before everything else until it is taken.
    void keepUntilSeen(const QString& sentence);
    /// All of that, in the order in which it came; the line no longer says it.
    QStringList takeUnseen();
    /// All that the line says, but for what must be seen, where it does not fit on it; else nothing.
    QStringList cutShort() const;
    void onClick(Action click) { click_ = std::move(click); }
    void setPrinter(const QString& fact) { set(printer_, fact); }
    void setDataFile(const QString& fact) { set(dataFile_, fact); }
    /// How the line to the register's server stands, where there is one.
    void setServer(const QString& fact) { set(server_, fact); }

    QString text() const; ///< the line as it is shown now

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void set(QString& fact, const QString& text);
    void refresh();
    void tick();
    QString scaleFact() const;
    QStringList facts() const;
    int room() const; ///< for text, in pixels
    QString unseen() const;

    int port_ = 0;
    QString whyClosed_;
    bool understood_ = true; ///< the last line
    QString whyNoWeight_;
    QString betterFormat_;
    QElapsedTimer sinceWeight_;
    QTimer ageing_;
    QStringList unseen_;
    QString notice_;
    Action click_;
    QString marks_;
    QString printer_;
    QString dataFile_;
    QString server_;
};

} // namespace app
