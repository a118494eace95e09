#pragma once

#include <ctime>

#include "cow/cow_String.h"

/// The texts of utl_getDate and utl_getTime for a given moment: separate, as tests cannot
/// choose the day on which they run.
cow_String utl_dateText(const std::tm& when);
cow_String utl_timeText(const std::tm& when);
