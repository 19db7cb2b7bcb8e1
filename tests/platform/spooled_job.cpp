#include "platform/spooled_job.h"

#include <gtest/gtest.h>

using platform::DocumentState;
using platform::JobMark;
using platform::SpooledJob;

namespace {

const JobMark ours{"Kasa", "Bilgi Fişi 2026-11-23 09:14:05.250"};

struct Said {
    const char* name;
    SpooledJob job;
    DocumentState means;
};

const std::string whole = platform::nameOfWhole(ours);

const Said answers[] = {
    {"was handed over and waits for its printer", {.document = whole}, DocumentState::taken},
    {"was handed over, printed and kept", {.document = whole, .onPaper = true, .finished = true}, DocumentState::taken},
    {"its program died before its end, and the spooler ended it", {.document = ours.document}, DocumentState::unknown},
    {"its program died, and what there was is printed",
     {.document = ours.document, .onPaper = true, .finished = true},
     DocumentState::unknown},
    {"was cut off before its end", {.document = ours.document, .spooling = true}, DocumentState::notTaken},
    {"was cut off, and its first page printed",
     {.document = ours.document, .spooling = true, .onPaper = true},
     DocumentState::unknown},
    {"is deleted unprinted", {.document = whole, .leaving = true}, DocumentState::notTaken},
    {"is deleted after it was printed", {.document = whole, .leaving = true, .onPaper = true}, DocumentState::unknown},
    {"is deleted before its end", {.document = ours.document, .leaving = true}, DocumentState::notTaken},
    {"somebody else's, waiting", {.document = "Mektup.docx"}, DocumentState::unknown},
    {"somebody else's, on its way", {.document = "Mektup.docx", .spooling = true}, DocumentState::unknown},
    {"somebody else's, being deleted", {.document = "Mektup.docx", .leaving = true}, DocumentState::unknown},
    {"another slip of ours", {.document = "Bilgi Fişi 2026-11-23 09:14:05.251 tamam"}, DocumentState::unknown},
};

TEST(SpooledJob, itsNumberCountsOnlyUnderItsOwnName)
{
    for (const Said& said : answers) {
        SCOPED_TRACE(said.name);
        EXPECT_EQ(platform::documentStateOf(said.job, ours), said.means);
        EXPECT_EQ(platform::isOurs(said.job, ours), said.job.document.starts_with(ours.document));
    }
}

TEST(SpooledJob, onlyWhatThePrinterHasStillToDoIsWork)
{
    EXPECT_TRUE(platform::waits({}));
    EXPECT_TRUE(platform::waits({.spooling = true}));
    EXPECT_TRUE(platform::waits({.onPaper = true}));
    EXPECT_FALSE(platform::waits({.onPaper = true, .finished = true}));
    EXPECT_FALSE(platform::waits({.leaving = true}));
}

TEST(SpooledJob, leavesTheListWhenItIsPrintedAndNobodyWillAsk)
{
    struct Kept {
        const char* name;
        SpooledJob job;
        bool settled;
        bool leaves;
    };
    const Kept table[] = {
        {"printed and booked", {.document = whole, .finished = true}, true, true},
        {"booked, and waits for paper", {.document = whole}, true, false},
        {"booked, and being printed", {.document = whole, .onPaper = true}, true, false},
        {"printed, and not booked yet", {.document = whole, .finished = true, .fromHere = true}, false, false},
        {"of a run of yesterday", {.document = whole, .finished = true, .fromHere = true, .hours = 14}, false, true},
        {"of yesterday, and waits for paper", {.document = whole, .fromHere = true, .hours = 14}, false, false},
        {"of yesterday, of another counter", {.document = whole, .finished = true, .hours = 14}, false, false},
        {"of yesterday, never handed over",
         {.document = ours.document, .finished = true, .fromHere = true, .hours = 14},
         false,
         false},
        {"a letter of yesterday that its sender keeps",
         {.document = "Mektup.docx", .finished = true, .fromHere = true, .hours = 14},
         false,
         false},
    };
    for (const Kept& kept : table) {
        SCOPED_TRACE(kept.name);
        EXPECT_EQ(platform::mayLeaveTheList(kept.job, kept.settled), kept.leaves);
    }
}

TEST(SpooledJob, aNameOfOursEndsInItsMomentAndThatItIsWhole)
{
    EXPECT_TRUE(platform::isNameOfWhole(whole));
    EXPECT_TRUE(platform::isNameOfWhole("2026-11-23 09:14:05.250 tamam"));
    for (const char* document : {"", " tamam", "Rapor tamam", "Bilgi Fişi 2026-11-23 09:14:05.250",
                                 "Bilgi Fişi 2026-11-23 09:14:05,250 tamam", "26-11-23 09:14:05.250 tamam"}) {
        SCOPED_TRACE(document);
        EXPECT_FALSE(platform::isNameOfWhole(document));
    }
}

TEST(SpooledJob, aMarkComesBackFromItsText)
{
    EXPECT_EQ(platform::markIn(platform::textOf(ours)), ours);
    for (const std::string text : {"", "Kasa", "Kasa\n", "\nFiş"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(platform::markIn(text));
    }
}

} // namespace
