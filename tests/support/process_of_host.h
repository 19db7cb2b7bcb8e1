#pragma once

#include "tests/support/process.h"

/// True for a program of the system on which a test for Windows runs, where somebody there runs such
/// (tests/windows/host.py, which says so by PRESVA_SCENARIO_HOST): a program that is no .exe.
bool isOfHost(const Command& command);

/// Asks for it over standard output and input, one line each way. Paths of this Windows among its arguments reach it as
/// that system's own.
Outcome runByHost(const Command& command);
