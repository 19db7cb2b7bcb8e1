#include "mill/queries.h"

#include "base/error.h"
#include "base/patterns.h"

using namespace Qt::StringLiterals;

namespace mill {
namespace {

constexpr QChar quote = u'\'';

QString name(Cari::Field field) { return text(Cari::fields[field]); }
QString name(Hareket::Field field) { return text(Hareket::fields[field]); }

QString refusing(const QString& name)
{
    if (name.contains(quote))
        throw base::RuntimeError(
            base::errors::querySyntax,
            u"“%1” adında kesme işareti (') var; bu adla arama ve kayıt yapılamaz. Adı kesme işareti olmadan yazın."_s
                .arg(name));
    return quote + name + quote;
}

QString doubling(QString name) { return quote + name.replace(quote, u"''"_s) + quote; }

} // namespace

QString customerSearch(const QString& typed)
{
    return u"Select * From "_s + customerTable + u" where "_s + name(Cari::Unvan) + u" Like "_s +
           refusing(typed).chopped(1) + u"*' Order By "_s + name(Cari::Unvan) + u" Asc"_s;
}

QString customerCriteria(const QString& customer) { return name(Cari::Unvan) + u'=' + refusing(customer); }

QString customerNamed(const QString& customer)
{
    return u"Select * From "_s + customerTable + u" Where "_s + name(Cari::Unvan) + u'=' + doubling(customer);
}

QString deletePressingsOf(const QString& customer)
{
    return deletePressings + u" Where "_s + name(Hareket::CariHar) + u'=' + refusing(customer);
}

QString periodCondition(QDate first, QDate last)
{
    const QString date = name(Hareket::Tarih);
    return date + u">="_s + base::dateLiteral(first, u"00:00:00") + u" And "_s + date + u"<="_s +
           base::dateLiteral(last, u"23:59:59");
}

QString andOfCustomer(const QString& customer)
{
    return u" And "_s + name(Hareket::CariHar) + u'=' + refusing(customer);
}

QString pressingsWhere(const QString& condition)
{
    return u"Select * From "_s + journalTable + u" where "_s + condition + u" Order By "_s + name(Hareket::Tarih) +
           u" Asc"_s;
}

QString sumsWhere(const QString& condition)
{
    QStringList sums;
    for (const auto field : Hareket::summed) sums << u"Sum("_s + name(field) + u')';
    return u"Select "_s + sums.join(u',') + u" FROM "_s + journalTable + u" Where "_s + name(Hareket::CariHar) +
           u"<>'"_s + totalsName + u"' And "_s + condition;
}

} // namespace mill
