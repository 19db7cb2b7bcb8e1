// For the tests that know no Qt.
#include "standard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
