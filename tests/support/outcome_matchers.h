#pragma once

#include "tests/support/process.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <ostream>
#include <string>

/// How a report shows what a program left behind: all of it.
inline void PrintTo(const Outcome& outcome, std::ostream* out)
{
    *out << "code " << outcome.code << "\n---- out\n" << outcome.out << "\n---- err\n" << outcome.err;
}

/// What a program says, as these matchers take it: a whole text, or a matcher of texts.
using Said = testing::Matcher<const std::string&>;

/// A program that ended with this code and said this.
inline testing::Matcher<const Outcome&> ends(int code, const Said& out = testing::_, const Said& err = testing::_)
{
    return testing::AllOf(testing::Field("code", &Outcome::code, code), testing::Field("out", &Outcome::out, out),
                          testing::Field("err", &Outcome::err, err));
}

/// One that did what it was told.
inline testing::Matcher<const Outcome&> succeeds(const Said& out = testing::_, const Said& err = testing::_)
{
    return ends(0, out, err);
}

/// One that did not, and said why.
inline testing::Matcher<const Outcome&> refuses(const Said& err = testing::_, const Said& out = testing::_)
{
    return ends(1, out, err);
}

MATCHER(isOneLine, "is one line, with its end") { return std::ranges::count(arg, '\n') == 1; }
