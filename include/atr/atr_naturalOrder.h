#pragma once

#include "KSTutl_export.h"

/// Whether strings are sorted in natural order, a switch of the whole process that is off
/// at start. Threads: any thread may read and set it; whoever keeps sorted data must make
/// sure that it does not change meanwhile.
KSTUTL_EXPORT bool atr_getNaturalOrder();
KSTUTL_EXPORT void atr_setNaturalOrder(bool on);

/// Compares two terminated texts in natural order: runs of decimal digits by their value,
/// however long, all else by unsigned bytes; a prefix comes first. Leading zeros do not
/// count in a value; texts that differ in nothing else are ordered by their bytes, so
/// that only identical texts are equal. Returns a number below, equal to or above 0 as
/// `a` comes before, with or after `b`. REQUIRES: neither is null.
///
///     strnatcmp("file9", "file10") < 0;   strnatcmp("file01", "file1") < 0;
KSTUTL_EXPORT int strnatcmp(const char* a, const char* b);
