#include "app/menu_item.h"
#include "app/control.h"
#include <QMenu>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace app {

MenuItem::MenuItem(QWidget* where, const QString& name, const QString& caption)
    : QAction(where), where_(where), caption_(caption)
{
    setObjectName(name);
    show();
    connect(this, &QAction::triggered, this, [this] {
        // The platform below has flipped the mark already; only the rule may.
        if (isCheckable()) QAction::setChecked(checked_);
        if (!inDisabledMenu()) beginAction(where_, click_, objectName());
    });
}

void MenuItem::setCaption(const QString& caption)
{
    caption_ = caption;
    show();
}

void MenuItem::setChecked(bool checked)
{
    checked_ = checked;
    if (isCheckable()) QAction::setChecked(checked);
    show();
}

void MenuItem::setHasCheckMark(bool has)
{
    setCheckable(has);
    setChecked(checked_);
}

bool MenuItem::inDisabledMenu() const
{
    const auto holders = associatedObjects();
    return std::any_of(holders.begin(), holders.end(), [](QObject* holder) {
        const auto* menu = qobject_cast<QMenu*>(holder);
        return menu && !menu->isEnabled();
    });
}

void MenuItem::show()
{
    // A menu bar draws no check marks, so the mark is part of the text; a doubled ampersand shows as one.
    QString text = caption_;
    text.replace(u'&', u"&&"_s);
    if (isCheckable()) text += checked_ ? u"  \u2611"_s : u"  \u2610"_s;
    setText(text);
}

} // namespace app
