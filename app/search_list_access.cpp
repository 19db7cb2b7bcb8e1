#include "app/search_list_access.h"
#include "app/search_list.h"
#include <QAccessibleWidget>
#include <QHash>
#include <QScrollBar>

namespace app {

namespace {

/// One row. It knows the list by its widget, so that a tool may keep it longer than the list lives.
class RowInterface : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    RowInterface(SearchList* list, int row) : list_(list), row_(row) {}

    bool isValid() const override { return list_ && row_ < list_->rowCount(); }
    QObject* object() const override { return nullptr; }
    QAccessibleInterface* parent() const override
    {
        return list_ ? QAccessible::queryAccessibleInterface(list_.data()) : nullptr;
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    void setText(QAccessible::Text, const QString&) override {}

    QString text(QAccessible::Text kind) const override
    {
        return isValid() && kind == QAccessible::Name ? list_->rowText(row_) : QString();
    }

    QRect rect() const override
    {
        if (!isValid()) return {};
        const QWidget* surface = list_->viewport();
        const int top = row_ * list_->rowHeight() - list_->verticalScrollBar()->value();
        return {surface->mapToGlobal(QPoint(0, top)), QSize(surface->width(), list_->rowHeight())};
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invalid = !isValid();
        if (!isValid()) return state;
        state.selectable = true;
        const QRect surface(list_->viewport()->mapToGlobal(QPoint(0, 0)), list_->viewport()->size());
        state.offscreen = !list_->isVisible() || !surface.intersects(rect());
        state.invisible = !list_->isVisible();
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override
    {
        if (name == pressAction() && isValid() && list_->isVisible()) list_->pick(row_);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QPointer<SearchList> list_;
    int row_;
};

class ListInterface : public QAccessibleWidget {
public:
    explicit ListInterface(SearchList* list) : QAccessibleWidget(list, QAccessible::List), list_(list) {}
    ~ListInterface() override
    {
        for (const QAccessible::Id row : std::as_const(rows_)) QAccessible::deleteAccessibleInterface(row);
    }

    int childCount() const override { return list_->rowCount(); }
    QAccessibleInterface* child(int row) const override
    {
        if (row < 0 || row >= list_->rowCount()) return nullptr;
        auto known = rows_.constFind(row);
        if (known == rows_.cend())
            known = rows_.insert(row, QAccessible::registerAccessibleInterface(new RowInterface(list_, row)));
        return QAccessible::accessibleInterface(*known);
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        const QPoint at = list_->viewport()->mapFromGlobal(QPoint(x, y));
        if (!list_->viewport()->rect().contains(at)) return nullptr;
        return child((at.y() + list_->verticalScrollBar()->value()) / list_->rowHeight());
    }
    int indexOfChild(const QAccessibleInterface* wanted) const override
    {
        for (auto row = rows_.cbegin(); row != rows_.cend(); ++row)
            if (QAccessible::accessibleInterface(row.value()) == wanted) return row.key();
        return -1;
    }

private:
    SearchList* list_;
    mutable QHash<int, QAccessible::Id> rows_;
};

QAccessibleInterface* interfaceOf(const QString& className, QObject* object)
{
    auto* list = className == u"app::SearchList" ? qobject_cast<SearchList*>(object) : nullptr;
    return list ? new ListInterface(list) : nullptr;
}

} // namespace

void describeSearchLists()
{
    // The same function installed twice is kept once.
    QAccessible::installFactory(interfaceOf);
}

} // namespace app
