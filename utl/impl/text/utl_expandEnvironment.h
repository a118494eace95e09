#pragma once

#include "cow/cow_String.h"

/// Replaces in `text` every %NAME%, then every $NAME, by the value of the environment
/// variable of that name. Values are expanded in turn; see utl_FilePath::SetFilePath.
void utl_expandEnvironment(cow_String& text);
