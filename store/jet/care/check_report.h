#pragma once

#include "store/jet/care/check.h"
#include "store/jet/care/report.h"
#include "store/jet/format/doors.h"
#include "store/jet/rules/table_properties.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// What the parts of the integrity check share. Private to checkDatabase.
namespace jet {

/// Collects what is found.
class CheckReport {
public:
    CheckReport(CheckResult& result, std::uint64_t steps, const std::function<void(int)>& progress)
        : result_(result), progress_(progress, steps)
    {
    }

    void fault(std::string sentence) { faults_.add(std::move(sentence)); }
    void warning(std::string sentence) { warnings_.add(std::move(sentence)); }
    /// Runs a part of the check. What contradicts the format so much that the part cannot go on is a fault of the
    /// file; a disk that cannot be read is not, and ends the check.
    template <class Part> bool attempt(Part&& part)
    {
        try {
            part();
            return true;
        } catch (const Error& error) {
            if (error.fault() == Fault::disk || error.fault() == Fault::inUse) throw;
            fault(error.what());
            return false;
        }
    }
    /// One page or so of work done.
    void step(std::uint64_t count = 1) { progress_.step(count); }
    /// Brings the sentences into the result, how many were left out, and says 100 percent.
    void finish();

    CheckResult& result() { return result_; }

private:
    static constexpr std::size_t mostSentences = 500;

    CheckResult& result_;
    Progress progress_;
    Sentences faults_{mostSentences};
    Sentences warnings_{mostSentences};
};

/// Who has each page of the file. Every page in use belongs to exactly one owner; the pages of usage maps are shared
/// by the owners whose maps stand on them.
class PageOwners {
public:
    PageOwners(PageCount pages, CheckReport& report) : owners_(pages, nobody), report_(report) {}

    using Owner = std::uint16_t;
    /// `what` as a noun: "'Hareket' tablosunun verileri".
    Owner add(std::string what);
    void claim(Owner owner, PageNo page);
    /// A map: two owners never have the same one, but the page that it stands on may hold the maps of several.
    void claim(Owner owner, MapRef map);
    /// Compares with the pages that the file calls free, and finds those that nobody knows of.
    void compareWithFree(const std::vector<PageNo>& free);

private:
    static constexpr Owner nobody = 0xFFFF;
    static constexpr Owner severalMaps = 0xFFFE;
    std::string nameOf(Owner owner) const;

    std::vector<Owner> owners_;
    std::vector<std::string> names_;
    std::map<MapRef, Owner> maps_;
    CheckReport& report_;
};

/// Everything that belongs to one table.
void checkTable(Pager& pager, const std::u16string& name, PageNo definition, TableProperties properties,
                PageOwners& owners, CheckReport& report);

/// What contradicts the format in the slots of a row page, as a Turkish clause; empty when it is sound.
std::string rowPageFault(PageView page);

} // namespace jet
