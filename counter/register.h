#pragma once

#include "base/regional.h"
#include "store/data_source.h"

#include <functional>
#include <optional>

namespace counter {

/// What the register knows of a customer's last pressing; nothing for what it does not know, nor for a percentage or a
/// fee that is no number.
struct Terms {
    std::optional<QString> percentage, container, fee;
};

/// The customer register as the counter works with it. Which customer is current, and of which search, is the state of
/// the data source. Names with an apostrophe are error 3075 and change nothing.
class Register {
public:
    /// The source must outlive the register. `processEvents` runs before each search.
    Register(store::DataSource& customers, base::Regional regional, std::function<void()> processEvents);

    /// Lists the customers whose names begin with what was typed, and makes the first of them current.
    void search(const QString& typed);
    bool hasFound();
    /// The current customer has exactly that name.
    bool isCurrent(const QString& name);
    Terms termsOfCurrent();

    /// Makes the customer of exactly that name the current one without recalling the terms. Error 3167 when there is
    /// none: whoever wants to delete it deletes nobody.
    void makeCurrent(const QString& name);

    /// Makes the customer of exactly that name the current one, where there is one, and says what is known of it.
    Terms termsOf(const QString& name);

    /// Makes the customer of exactly that name the current one; a new one is added with nothing but the name. Error 5
    /// for a name that no customer can have.
    void add(const QString& name);
    /// Deletes the current customer and all of the customer's pressings: both or neither.
    void eraseCurrent();
    /// Deletes every customer and every pressing: all or nothing.
    void eraseAll();
    void erasePressings();

private:
    store::DataSource& customers_;
    base::Regional regional_;
    std::function<void()> processEvents_;
};

} // namespace counter
