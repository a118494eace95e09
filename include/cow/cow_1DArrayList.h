#pragma once

#include "cow/cow_1DArray.h"

/// The array that is built by appending. Here cow_1DArray itself grows cheaply, so both
/// names mean one type.
template <class T>
using cow_1DArrayList = cow_1DArray<T>;
