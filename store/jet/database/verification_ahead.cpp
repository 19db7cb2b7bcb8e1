#include "store/jet/database/verification_ahead.h"

#include "store/jet/database/database_state.h"
#include "store/jet/pages/pager_failing.h"
#include "store/jet/table/table_state.h"

#include <system_error>
#include <utility>

namespace jet {

std::unique_ptr<VerificationAhead> VerificationAhead::begin(Database::State& of,
                                                            const std::vector<std::u16string>& tables)
{
    try {
        std::unique_ptr<VerificationAhead> ahead(new VerificationAhead(of, tables));
        if (ahead->thread_.joinable()) return ahead;
    } catch (const Error&) {
        // Whoever asks the tables themselves hears of it.
    } catch (const std::system_error&) {
        // The machine has no thread to spare.
    }
    return nullptr;
}

VerificationAhead::VerificationAhead(Database::State& of, const std::vector<std::u16string>& tables)
    : of_(of), tables_(tables), began_(now(*of.pager)), pager_(of.pager->beside([this] { return goOn_.load(); }))
{
    if (pager_) thread_ = std::thread([this] { run(); });
}

VerificationAhead::~VerificationAhead()
{
    goOn_ = false;
    if (thread_.joinable()) thread_.join();
}

void VerificationAhead::run() noexcept
{
    try {
        database_ = Database::open(std::move(pager_));
        for (const std::u16string& table : tables_)
            if (database_->hasTable(table)) database_->state_->stateOf(database_->table(table)).verifyAhead();
        digest_ = database_->pager().digest();
    } catch (...) {
        // Without a verdict a table is verified when it is asked, and what is wrong is said there.
    }
    done_ = true;
}

void VerificationAhead::giveVerdicts() noexcept
{
    thread_.join();
    if (!database_ || now(*of_.pager) != began_) return;
    succeeds([&] {
        if (digest_) of_.pager->knowDigest(*digest_);
        for (const std::u16string& table : tables_) {
            const CatalogueEntry* const entry = of_.find(table);
            if (entry == nullptr || !database_->hasTable(table)) continue;
            of_.stateOf(of_.open(*entry)).takeVerdict(database_->state_->stateOf(database_->table(table)));
        }
    });
}

} // namespace jet
