#pragma once

#include "query/arguments.h"

namespace query {

/// Halves go to the even neighbour.
double rounded(double number);

/// acc_reckon(operators, first, second, ...): the values tied by the operators, one after the other from the left:
/// + - * / \ ^ and m for Mod. Whole numbers stay whole where they can; a moment plus or minus days is a moment; two
/// texts are joined by +. Null where there is no result: the row stays, its field is empty. Throws files::Error
/// (badValue) for what is no number, and for a moment that no calendar has.
void reckon(Arguments& values);

} // namespace query
