#include "live/access.h"

#include "files/error.h"
#include "files/part_file.h"
#include "live/random_text.h"
#include "platform/sha256.h"

#include <charconv>
#include <utility>
#include <vector>

namespace live {
namespace {

constexpr std::size_t invitationBytes = 18; ///< short enough for a code that a telephone reads from a screen
constexpr std::size_t keyBytes = 32;

/// Secrets are compared by their digests: how long that takes tells nothing of the secret.
std::string digestOf(std::string_view secret)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : platform::sha256(secret)) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::string contentOf(files::Disk& disk, const std::filesystem::path& path)
{
    const auto file = disk.open(path, files::Disk::Access::readOnly);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(file->size()));
    bytes.resize(file->read(0, bytes));
    return {bytes.begin(), bytes.end()};
}

std::map<std::string, std::int64_t> telephonesIn(const std::string& text)
{
    constexpr std::size_t digestLength = 64;
    std::map<std::string, std::int64_t> telephones;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        const std::string line = text.substr(from, end - from);
        from = end + 1;
        if (line.size() < digestLength + 2 || line[digestLength] != ' ') continue;
        std::int64_t until = 0;
        const char* const last = line.data() + line.size();
        const auto [behind, fault] = std::from_chars(line.data() + digestLength + 1, last, until);
        if (fault == std::errc() && behind == last) telephones[line.substr(0, digestLength)] = until;
    }
    return telephones;
}

} // namespace

Access::Access(files::Disk& disk, std::filesystem::path telephones, std::chrono::seconds invitationCounts, Clock clock,
               Clock running)
    : disk_(disk), file_(std::move(telephones)), invitationCounts_(invitationCounts), clock_(std::move(clock)),
      running_(running ? std::move(running) : clock_)
{
    if (disk_.exists(file_)) telephones_ = telephonesIn(contentOf(disk_, file_));
}

void Access::renew()
{
    invitation_ = randomText(invitationBytes);
    invitationEnds_ = running_() + invitationCounts_.count();
}

std::string Access::invitation()
{
    const std::scoped_lock lock(mutex_);
    if (invitation_.empty() || running_() >= invitationEnds_) renew();
    return invitation_;
}

std::optional<std::string> Access::take(std::string_view invitation)
{
    const std::scoped_lock lock(mutex_);
    const std::int64_t now = clock_();
    if (invitation_.empty() || running_() >= invitationEnds_ || digestOf(invitation) != digestOf(invitation_))
        return {};
    std::string key = randomText(keyBytes);
    auto telephones = telephones_;
    std::erase_if(telephones, [now](const auto& each) { return each.second <= now; });
    telephones[digestOf(key)] = now + std::chrono::seconds(telephoneCounts).count();
    try {
        write(telephones);
    } catch (const files::Error& error) {
        trouble_ = error.what();
        throw;
    }
    telephones_ = std::move(telephones);
    renew();
    return key;
}

bool Access::knows(std::string_view key)
{
    const std::string digest = digestOf(key);
    const std::scoped_lock lock(mutex_);
    const auto found = telephones_.find(digest);
    return found != telephones_.end() && clock_() < found->second;
}

std::optional<std::string> Access::trouble()
{
    const std::scoped_lock lock(mutex_);
    return std::exchange(trouble_, std::nullopt);
}

void Access::write(const std::map<std::string, std::int64_t>& telephones)
{
    std::string text;
    for (const auto& [digest, until] : telephones) text += digest + ' ' + std::to_string(until) + '\n';
    files::PartFile part = files::PartFile::replacing(disk_, file_);
    part.write(text);
    part.publish();
}

} // namespace live
