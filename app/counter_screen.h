#pragma once

#include "pressing/keypad.h"
#include "pressing/station_screen.h"

#include <memory>

namespace app {

class Form1;

/// The screen as the rules of a pressing see it.
class CounterScreen : public pressing::StationScreen, public pressing::KeypadScreen {};

/// Captions, flags and counts are the controls of the form.
std::unique_ptr<CounterScreen> counterScreenOf(Form1& form);

} // namespace app
