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

const Said answers[] = {
    {"waits for its printer", {.document = ours.document}, DocumentState::taken},
    {"is printed and kept", {.document = ours.document, .onPaper = true}, DocumentState::taken},
    {"was cut off before its end", {.document = ours.document, .spooling = true}, DocumentState::notTaken},
    {"was cut off, and its first page printed",
     {.document = ours.document, .spooling = true, .onPaper = true},
     DocumentState::unknown},
    {"is deleted unprinted", {.document = ours.document, .leaving = true}, DocumentState::notTaken},
    {"is deleted after it was printed",
     {.document = ours.document, .leaving = true, .onPaper = true},
     DocumentState::unknown},
    {"somebody else's, waiting", {.document = "Mektup.docx"}, DocumentState::unknown},
    {"somebody else's, on its way", {.document = "Mektup.docx", .spooling = true}, DocumentState::unknown},
    {"somebody else's, being deleted", {.document = "Mektup.docx", .leaving = true}, DocumentState::unknown},
    {"another slip of ours", {.document = "Bilgi Fişi 2026-11-23 09:14:05.251"}, DocumentState::unknown},
};

TEST(SpooledJob, itsNumberCountsOnlyUnderItsOwnName)
{
    for (const Said& said : answers) {
        SCOPED_TRACE(said.name);
        EXPECT_EQ(platform::documentStateOf(said.job, ours), said.means);
        EXPECT_EQ(platform::isOurs(said.job, ours), said.job.document == ours.document);
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
