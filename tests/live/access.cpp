#include "live/access.h"
#include "files/error.h"
#include "files/memory_disk.h"
#include "platform/system_disk.h"

#include <gmock/gmock.h>

namespace live {
namespace {

using std::chrono::minutes;
using testing::HasSubstr;
using testing::Not;

class AccessOfTelephones : public testing::Test {
protected:
    Access opened()
    {
        return Access(disk_, "telephones", minutes(10), [this] { return now_; });
    }

    std::string content()
    {
        const auto file = disk_.open("telephones", files::Disk::Access::readOnly);
        std::vector<std::uint8_t> bytes(file->size());
        file->read(0, bytes);
        return {bytes.begin(), bytes.end()};
    }

    files::MemoryDisk disk_;
    std::int64_t now_ = 1'763'650'000;
};

TEST_F(AccessOfTelephones, invitationIsTakenOnceAndAnotherTakesItsPlace)
{
    Access access = opened();
    const std::string invitation = access.invitation();
    EXPECT_EQ(access.invitation(), invitation);
    const auto key = access.take(invitation);
    ASSERT_TRUE(key);
    EXPECT_TRUE(access.knows(*key));
    EXPECT_FALSE(access.take(invitation));
    EXPECT_NE(access.invitation(), invitation);
    EXPECT_TRUE(access.take(access.invitation()));
}

TEST_F(AccessOfTelephones, invitationBecomesTooOld)
{
    Access access = opened();
    const std::string invitation = access.invitation();
    now_ += 600; // ten minutes
    EXPECT_FALSE(access.take(invitation));
    EXPECT_NE(access.invitation(), invitation);
}

TEST_F(AccessOfTelephones, aClockThatIsPutBackMakesNoInvitationLonger)
{
    std::int64_t running = 100;
    Access access(
        disk_, "telephones", minutes(10), [this] { return now_; }, [&running] { return running; });
    const std::string invitation = access.invitation();
    now_ -= 400 * 86'400;
    running += 599;
    EXPECT_EQ(access.invitation(), invitation);
    running += 1;
    EXPECT_FALSE(access.take(invitation));
    EXPECT_NE(access.invitation(), invitation);
}

TEST_F(AccessOfTelephones, aTelephoneThatCannotBeRememberedIsToldOnce)
{
    Access access(platform::systemDisk(), "/absent/telephones", minutes(10), [this] { return now_; });
    const std::string invitation = access.invitation();
    EXPECT_FALSE(access.trouble());
    EXPECT_THROW(access.take(invitation), files::Error);
    EXPECT_THAT(access.trouble().value_or(""), HasSubstr("/absent/telephones"));
    EXPECT_FALSE(access.trouble());
    EXPECT_EQ(access.invitation(), invitation);
}

TEST_F(AccessOfTelephones, nothingIsTakenWhereNobodyWasInvited)
{
    Access access = opened();
    EXPECT_FALSE(access.take(""));
    EXPECT_FALSE(access.knows(""));
}

TEST_F(AccessOfTelephones, telephoneIsKnownAfterARestartAndForNinetyDays)
{
    std::string key;
    {
        Access access = opened();
        key = access.take(access.invitation()).value();
    }
    Access access = opened();
    EXPECT_TRUE(access.knows(key));
    now_ += std::chrono::seconds(Access::telephoneCounts).count() - 1;
    EXPECT_TRUE(access.knows(key));
    now_ += 1;
    EXPECT_FALSE(access.knows(key));
}

TEST_F(AccessOfTelephones, fileHoldsNoKeyAndNoInvitation)
{
    Access access = opened();
    const std::string invitation = access.invitation();
    const std::string key = access.take(invitation).value();
    EXPECT_THAT(content(), Not(HasSubstr(key)));
    EXPECT_THAT(content(), Not(HasSubstr(invitation)));
    // What stands there opens nothing.
    EXPECT_FALSE(access.knows(content().substr(0, 64)));
}

TEST_F(AccessOfTelephones, linesThatMakeNoSenseAreNobodys)
{
    std::string key;
    {
        Access access = opened();
        key = access.take(access.invitation()).value();
    }
    const std::string lines = content() + "half a line\n" + std::string(64, 'a') + " soon\n\n" + std::string(70, 'b');
    disk_.open("telephones", files::Disk::Access::readWrite)
        ->write(0, {reinterpret_cast<const std::uint8_t*>(lines.data()), lines.size()});
    Access access = opened();
    EXPECT_TRUE(access.knows(key));
    EXPECT_TRUE(access.take(access.invitation()));
}

TEST_F(AccessOfTelephones, theForgottenAreForgotten)
{
    Access access = opened();
    const std::string key = access.take(access.invitation()).value();
    disk_.remove("telephones");
    Access after = opened();
    EXPECT_FALSE(after.knows(key));
}

} // namespace
} // namespace live
