#include "store/jet/care/maintenance.h"

#include "files/part_file.h"
#include "files/quoted_path.h"
#include "store/jet/care/check.h"
#include "store/jet/care/report.h"
#include "store/jet/care/rewrite.h"

#include <algorithm>
#include <cassert>

namespace jet {

namespace {

constexpr PageCount pagesPerWrite = 64;
constexpr PageCount pagesPerSync = 16 * pagesPerWrite; ///< 4 MiB
} // namespace

void backup(Disk& disk, Database& database, const std::filesystem::path& to, const std::function<void(int)>& progress)
{
    Pager& pager = database.pager();
    assert(!pager.inTransaction());
    if (pager.protection() == Protection::covered)
        throw Error(Fault::encoded,
                    files::quotedPath(pager.path()) +
                        " dosyasının sayfaları kodlanmış; kopyası açık olurdu. Bunu isterseniz: presva-mdb "
                        "compact DOSYA YENİ-DOSYA.");
    files::PartFile part(disk, to);
    part.make([&] {
        {
            const auto file = disk.open(part.path(), Disk::Access::createNew);
            Progress told(progress, pager.pageCount());
            std::vector<std::uint8_t> buffer;
            PassingBuffer passing;
            for (PageNo first = 0; pager.has(first); first += pagesPerWrite) {
                const PageNo end = std::min(first + pagesPerWrite, PageNo(pager.pageCount()));
                buffer.clear();
                for (PageNo page = first; page < end; ++page) {
                    const PageView view = pager.look(page, passing);
                    buffer.insert(buffer.end(), view.begin(), view.end());
                }
                file->write(positionOf(first), buffer);
                told.step(end - first);
            }
            file->sync();
            told.finish();
        }
        {
            const auto copy = Database::open(disk, part.path(), Pager::Mode::readOnly);
            if (copy->pager().pageCount() != pager.pageCount() || copy->tableNames() != database.tableNames())
                throw Error(Fault::disk,
                            files::quotedPath(to) + " kopyası eksik çıktı. Diski denetleyip yeniden deneyin.");
        }
        part.publish();
    });
}

void backup(Disk& disk, Snapshot& snapshot, const std::filesystem::path& to, const std::filesystem::path& part,
            const std::function<void(int)>& progress)
{
    files::PartFile copy(disk, to, part);
    copy.make([&] {
        const PageCount pages = snapshot.pageCount();
        Progress told(progress, std::uint64_t{pages} * 2);
        {
            const auto file = disk.open(copy.path(), Disk::Access::createNew);
            std::vector<std::uint8_t> buffer(pagesPerWrite * pageSize);
            PageNo done = 0;
            while (const PageCount count = snapshot.readNext(buffer)) {
                file->write(positionOf(done), std::span(buffer).first(count * pageSize));
                done += count;
                if (done.number() % pagesPerSync == 0) file->sync();
                told.step(count);
            }
            file->sync();
        }
        {
            const auto written = Database::open(disk, copy.path(), Pager::Mode::readOnly);
            const std::function<void(int)> checking = [&](int percent) {
                if (progress) progress(50 + percent / 2);
            };
            const CheckResult result = checkDatabase(*written, checking);
            if (!result.ok() || result.pages != pages)
                throw Error(Fault::damaged, files::quotedPath(to) + " kopyası sağlam çıkmadı" +
                                                (result.ok() ? std::string(".") : ": " + result.faults.front()));
        }
        copy.publish();
    });
}

void compact(Disk& disk, Database& database, const std::filesystem::path& to, const std::function<void(int)>& progress)
{
    Rewrite rewrite(database);
    files::PartFile part(disk, to);
    part.make([&] {
        Progress told(progress, rewrite.rows() * 3);
        {
            const auto file = disk.open(part.path(), Disk::Access::createNew);
            file->write(0, rewrite.emptyFile());
            file->sync();
        }
        {
            Pager pager(disk, part.path(), Pager::Mode::readWrite);
            rewrite.into(pager, told);
        }
        {
            const auto fresh = Database::open(disk, part.path(), Pager::Mode::readOnly);
            const CheckResult result = checkDatabase(*fresh);
            if (!result.ok())
                throw Error(Fault::damaged, files::quotedPath(to) + " sağlam çıkmadı: " + result.faults.front());
            rewrite.compare(fresh->pager(), told);
        }
        told.finish();
        part.publish();
    });
}

} // namespace jet
