#include "store/record_set.h"

#include "base/error.h"
#include "base/numbers.h"

#include <algorithm>
#include <cmath>

namespace store {
namespace {

/// The value as the field would hold it. Error 3421 for a value of another kind, and for a number out of range.
FieldValue fitted(const FieldInfo& field, const FieldValue& value)
{
    const auto fail = [] { throw base::runtimeError(base::errors::dataConversion); };
    if (value.isNull()) return value;
    switch (field.kind) {
    case FieldKind::text:
        if (!value.isText()) fail();
        return value;
    case FieldKind::date:
        if (!value.isDate()) fail();
        return value;
    case FieldKind::number:
    case FieldKind::money:
    case FieldKind::boolean:
        break;
    case FieldKind::other:
        fail();
    }
    const std::optional<double> number = value.number();
    if (!number) fail();
    if (field.kind == FieldKind::boolean) return *number != 0;
    const double rounded = field.whole ? std::nearbyint(*number) : *number; // halves to the even neighbour
    if (!(rounded >= field.lowest && rounded <= field.highest)) fail();
    return field.whole ? FieldValue(rounded) : value;
}

} // namespace

void RecordSet::open(std::shared_ptr<Engine> engine, Listing listing)
{
    engine_ = std::move(engine);
    listing_ = std::move(listing);
    writing_ = Writing::nothing;
    written_.clear();
    noMatch_ = onErased_ = false;
    added_ = -1;
    at_ = size() == 0 ? -1 : 0;
    visited_ = std::min(size(), 1);
}

void RecordSet::moveOnto(int row)
{
    at_ = row;
    onErased_ = false;
    writing_ = Writing::nothing;
    written_.clear();
    visited_ = std::max(visited_, std::min(row + 1, size()));
    if (at_ < size() && reposition_) reposition_();
}

void RecordSet::checkCurrent() const
{
    if (bof() || eof()) throw base::runtimeError(base::errors::noCurrentRecord);
    if (onErased_) throw base::runtimeError(base::errors::recordDeleted);
}

void RecordSet::moveFirst()
{
    if (size() == 0) throw base::runtimeError(base::errors::noCurrentRecord);
    moveOnto(0);
}

void RecordSet::moveLast()
{
    if (size() == 0) throw base::runtimeError(base::errors::noCurrentRecord);
    visited_ = size();
    moveOnto(size() - 1);
}

void RecordSet::moveNext()
{
    if (bof() || eof()) throw base::runtimeError(base::errors::noCurrentRecord);
    moveOnto(onErased_ ? at_ : at_ + 1);
}

void RecordSet::moveTo(int row)
{
    if (row < 0 || row >= size()) throw base::runtimeError(base::errors::noCurrentRecord);
    moveOnto(row);
}

void RecordSet::findFirst(const QString& criteria)
{
    noMatch_ = true;
    if (!engine_ || size() == 0) return;
    // Usually one row, or a few: the set is walked once, in its own order.
    std::vector<RowKey> wanted = engine_->matching(listing_, criteria);
    if (wanted.empty()) return;
    std::sort(wanted.begin(), wanted.end());
    const auto first = std::find_if(listing_.rows.begin(), listing_.rows.end(),
                                    [&](RowKey row) { return std::binary_search(wanted.begin(), wanted.end(), row); });
    if (first == listing_.rows.end()) return;
    noMatch_ = false;
    moveOnto(static_cast<int>(first - listing_.rows.begin()));
}

FieldValue RecordSet::field(int position)
{
    if (writing_ != Writing::nothing) {
        const auto own = written_.find(position);
        if (own != written_.end()) return own->second;
        if (writing_ == Writing::adding) return {};
    }
    checkCurrent();
    return engine_->field(listing_, listing_.rows[static_cast<std::size_t>(at_)], position);
}

FieldValue RecordSet::fieldAt(int row, int position)
{
    if (row < 0 || row >= size()) throw base::runtimeError(base::errors::noCurrentRecord);
    return engine_->field(listing_, listing_.rows[static_cast<std::size_t>(row)], position);
}

void RecordSet::addNew()
{
    if (!engine_) throw base::runtimeError(base::errors::notSet);
    writing_ = Writing::adding;
    written_.clear();
}

void RecordSet::edit()
{
    checkCurrent();
    checkNotDeleted(); // here, not when it is written
    writing_ = Writing::editing;
    written_.clear();
}

void RecordSet::checkNotDeleted() const
{
    // The engine tells by failing; the value is of no interest.
    if (!listing_.fields.empty()) engine_->field(listing_, listing_.rows[static_cast<std::size_t>(at_)], 0);
}

const FieldInfo& RecordSet::beingWritten(int position) const
{
    if (writing_ == Writing::nothing) throw base::runtimeError(base::errors::noEdit);
    if (position < 0 || static_cast<std::size_t>(position) >= listing_.fields.size())
        throw base::runtimeError(base::errors::noSuchField);
    return listing_.fields[static_cast<std::size_t>(position)];
}

void RecordSet::setField(int position, const FieldValue& value)
{
    written_[position] = fitted(beingWritten(position), value);
}

void RecordSet::setField(int position, const QString& caption, const base::Regional& regional)
{
    const FieldInfo& field = beingWritten(position);
    if (field.kind == FieldKind::text) return setField(position, FieldValue(caption));
    if (field.kind != FieldKind::number && field.kind != FieldKind::money)
        throw base::runtimeError(base::errors::dataConversion);
    double number = 0;
    try {
        number = base::toDouble(caption, regional);
    } catch (const base::RuntimeError&) {
        // No number, or too large for one: to the field both are the same.
        throw base::runtimeError(base::errors::dataConversion);
    }
    setField(position, FieldValue(number));
}

/// Before anything is written: a row that does not fit is not written in part.
void RecordSet::checkLengths() const
{
    for (const auto& [position, value] : written_) {
        const FieldInfo& field = listing_.fields[static_cast<std::size_t>(position)];
        if (field.kind == FieldKind::text && field.size > 0 && value.text().size() > field.size)
            throw base::runtimeError(base::errors::fieldTooSmall);
    }
}

void RecordSet::update()
{
    const Writing writing = writing_;
    if (writing == Writing::nothing) throw base::runtimeError(base::errors::noEdit);
    checkLengths();
    const Assignments values(written_.begin(), written_.end());
    // Whatever comes of it, the row is no longer being written.
    writing_ = Writing::nothing;
    written_.clear();
    if (writing == Writing::editing) {
        checkCurrent();
        engine_->update(listing_, listing_.rows[static_cast<std::size_t>(at_)], values);
        return;
    }
    const bool wasEmpty = size() == 0;
    listing_.rows.push_back(engine_->insert(listing_, values));
    added_ = size() - 1;
    ++visited_;
    if (wasEmpty) at_ = 0;
}

void RecordSet::makeAddedCurrent()
{
    if (added_ < 0 || added_ >= size()) return;
    at_ = added_;
    onErased_ = false;
}

void RecordSet::erase()
{
    checkCurrent();
    engine_->erase(listing_, listing_.rows[static_cast<std::size_t>(at_)]);
    listing_.rows.erase(listing_.rows.begin() + at_);
    visited_ = std::max(0, visited_ - 1);
    added_ = -1;
    onErased_ = true;
}

void RecordSet::leaveOut(const QString& criteria)
{
    if (!engine_ || size() == 0) return;
    std::vector<RowKey> unwanted = engine_->matching(listing_, criteria);
    std::sort(unwanted.begin(), unwanted.end());
    const auto isUnwanted = [&](RowKey row) { return std::binary_search(unwanted.begin(), unwanted.end(), row); };
    auto& rows = listing_.rows;
    const auto leavesBefore = [&](int place) {
        return static_cast<int>(std::count_if(rows.begin(), rows.begin() + std::clamp(place, 0, size()), isUnwanted));
    };
    visited_ -= leavesBefore(visited_);
    at_ -= leavesBefore(at_);
    std::erase_if(rows, isUnwanted);
    if (rows.empty()) at_ = -1;
    added_ = -1;
}

} // namespace store
