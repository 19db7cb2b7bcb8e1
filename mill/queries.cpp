#include "mill/queries.h"

#include "base/error.h"
#include "base/patterns.h"

using namespace Qt::StringLiterals;

namespace mill {
namespace {

constexpr QChar quote = u'\'';

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
    return u"Select * From Cari where Unvan Like "_s + refusing(typed).chopped(1) + u"*' Order By Unvan Asc"_s;
}

QString customerCriteria(const QString& name) { return u"Unvan="_s + refusing(name); }

QString customerNamed(const QString& name) { return u"Select * From Cari Where Unvan="_s + doubling(name); }

QString deletePressingsOf(const QString& customer)
{
    return u"DELETE FROM Hareket Where CariHar="_s + refusing(customer);
}

QString periodCondition(QDate first, QDate last)
{
    return u"Tarih>="_s + base::dateLiteral(first, u"00:00:00") + u" And Tarih<="_s +
           base::dateLiteral(last, u"23:59:59");
}

QString andOfCustomer(const QString& name) { return u" And CariHar="_s + refusing(name); }

QString pressingsWhere(const QString& condition)
{
    return u"Select * From Hareket where "_s + condition + u" Order By Tarih Asc"_s;
}

QString sumsWhere(const QString& condition)
{
    return u"Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket Where CariHar<>'Toplamlar' And "_s +
           condition;
}

} // namespace mill
