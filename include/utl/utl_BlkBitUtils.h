#pragma once

#include "cow/cow_List.h"
#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "omi/omi_BlkBitVect.h"

/// Bit vectors as compact text, for masks in text files.
///
/// The text lists the vector's words of 32 bits, word 0 with bits 0 to 31 first, up to
/// the word of the highest set bit: "#" and the word in hexadecimal, for a run of two or
/// more equal words followed by ":" and their number. Blanks separate, brackets enclose:
///
///     [#0:3 #ff ]      bits 96 to 103
///     [#0 ]            no bit
///
/// It comes in pieces of at most seven words or runs each, fit for lines of a file. A
/// piece ends before the blank of the next one's first word.
///
/// Threads: any thread may call at any time, each with objects of its own.
class utl_BlkBitUtils {
 public:
  utl_BlkBitUtils() = delete;

  /// The text of `mask`: one piece or more, in order.
  KSTUTL_EXPORT static cow_List<cow_String> GetMaskString(const omi_BlkBitVect& mask);

  /// Sets words of `mask` as `text` says. The mask is not cleared first, and words that
  /// the text gives as zero are passed over: they keep the bits they have.
  ///
  /// Words are numbered across all pieces. Whatever comes before a "#" is skipped. A
  /// number that is missing, damaged or too large for 32 bits stands for the one before
  /// it: a word for the last word read (0 at first), a run length for the length of the
  /// item before (1 for a word without one). A minus sign is read as `sscanf` reads it
  /// with "%x" and "%u": "#-1" is the word ffffffff.
  ///
  /// Throws nex_AssertException when a word that is not zero would lie beyond the
  /// vector's limit of 2^32 bits; the words before that run are then stored, and none of
  /// the run.
  KSTUTL_EXPORT static void GetMaskFromString(const cow_List<cow_String>& text,
                                              omi_BlkBitVect& mask);
};
