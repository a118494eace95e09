#pragma once

#include "cow/cow_String.h"
#include "platform/platform.h"

/// Replaces in `text` every %NAME%, then every $NAME, by the value of the environment
/// variable of that name. Values are expanded in turn; the rules and their limits are
/// those of utl_FilePath::SetFilePath. The time is linear in the length of text and
/// values. `lookUp` gives a variable's value, or null where it is unset.
void utl_expandEnvironment(cow_String& text,
                           char* (*lookUp)(const char*) = platform::Environment);
