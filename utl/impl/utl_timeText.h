#pragma once

#include <ctime>

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// The texts of utl_getDate and utl_getTime for a given moment. Internal; exported for
/// the tests, which cannot choose the day on which they run.
KSTUTL_EXPORT cow_String utl_dateText(const std::tm& when);
KSTUTL_EXPORT cow_String utl_timeText(const std::tm& when);
