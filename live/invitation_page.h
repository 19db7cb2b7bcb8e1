#pragma once

#include <string>

namespace live {

/// What a telephone needs to come in, as the counter's screen shows it and a printer prints it.
struct Invitation {
    std::string address;     ///< with the invitation in it, behind a '#'
    std::string fingerprint; ///< of the certificate
    std::string counts;      ///< until when, in words
};

/// A page for the counter's own browser; it looks for a newer one of its name every few seconds.
std::string invitationPage(const Invitation& invitation);

/// The page that stands in its place when nobody can come in any more.
std::string closedPage();

} // namespace live
