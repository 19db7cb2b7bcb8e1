#pragma once

#include "store/engine.h"

#include <functional>
#include <map>

namespace store {

/// The rows of a record source with one current position.
///
/// It is a list of row keys fixed when it was opened; values are fetched from the table when they are asked for. Rows
/// added through it come last, whatever the order; rows deleted elsewhere stay in it as holes (reading one is error
/// 3167); rows added elsewhere do not appear. Moves past the ends are error 3021; field writes without edit() or
/// addNew() are error 3020.
class RecordSet {
public:
    /// Runs whenever another row has become current: a move, a find with a match.
    void onReposition(std::function<void()> reposition) { reposition_ = std::move(reposition); }

    /// Rows visited so far; exact after a move to the last one.
    int recordCount() const { return visited_; }
    /// Both are true for a set without rows, and neither while the row that was current has just been deleted.
    bool bof() const { return size() == 0 && !onErased_; }
    bool eof() const { return (size() == 0 || at_ >= size()) && !onErased_; }

    void moveFirst();
    void moveLast();
    void moveNext();
    /// Makes the row at that place of the list current, as a grid does with the row that is touched.
    void moveTo(int row);
    /// The first row of the set that meets a condition such as Unvan='Ali'. Without one noMatch() is true and the
    /// position stays.
    void findFirst(const QString& criteria);
    bool noMatch() const { return noMatch_; }

    const std::vector<FieldInfo>& fields() const { return listing_.fields; }
    /// Of the current row, or of the row being written. Error 3021 without one, 3167 when it is gone.
    FieldValue field(int position);

    void addNew();
    void edit();
    /// By the regional settings into the field's own type: error 3421 for a text that is not of that type, or beyond
    /// its range. Such a field keeps what it had, and the others can still be written.
    void setField(int position, const QString& caption, const base::Regional& regional);
    void setField(int position, const FieldValue& value);
    /// Writes the row, or nothing of it: error 3163 for a text that is too long. After an addNew() the row that was
    /// current before is current again.
    void update();
    /// The row added last becomes the current one, without the reposition that a move would run.
    void makeAddedCurrent();
    /// Deletes the current row. The position stays on it until a move; reading it is error 3167.
    void erase();
    /// Takes the rows that meet a condition out of the list; the table keeps them. A current row among them gives way
    /// to the one that follows it, without the reposition that a move would run.
    void leaveOut(const QString& criteria);

    // For lists and grids: rows without moving the current one.
    int size() const { return static_cast<int>(listing_.rows.size()); }
    FieldValue fieldAt(int row, int position);
    int position() const { return at_; } ///< index of the current row; -1 or size() outside

private:
    friend class DataSource;
    enum class Writing { nothing, adding, editing };

    void open(std::shared_ptr<Engine> engine, Listing listing);
    void moveOnto(int row);
    void checkCurrent() const;
    void checkNotDeleted() const; ///< error 3167 when the current row was deleted elsewhere
    const FieldInfo& beingWritten(int position) const;
    void checkLengths() const;

    std::shared_ptr<Engine> engine_;
    Listing listing_;
    int at_ = -1;
    int visited_ = 0;
    int added_ = -1;
    bool onErased_ = false; ///< the current row was deleted through this set; at_ is where its successor stands
    bool noMatch_ = false;
    Writing writing_ = Writing::nothing;
    std::map<int, FieldValue> written_;
    std::function<void()> reposition_;
};

} // namespace store
