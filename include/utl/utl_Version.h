#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "omi/omi_Singleton.h"
#include "utl/utl_FilePath.h"

/// The kinds of release.
enum utl_VersionTypeEnum {
  VT_CUSTOM = 0,
  VT_DEVELOPMENT = 1,
  VT_GENMAINT = 2,
  VT_INTERMEDIATE = 3,
  VT_MAINTENANCE = 4,
  VT_PRERELEASE = 5,
  VT_LEARNER = 6
};

/// Which product this process is, which release, and how its title reads.
///
/// One object a process, `omi_Singleton<utl_Version>::Instance()`, created at the first
/// call and destroyed by utl_finalize. It is not locked: the main thread sets it up
/// before other threads read. The release is fixed by the build; utl_initialize turns it
/// into the Learner Edition when the environment variable KES_LEARNER is "ON".
///
///     utl_Version& version = omi_Singleton<utl_Version>::Instance();
///     version.SetProductStudio();
///     version.Title(false);            // KESTRA/Studio Version 6.6-7
class KSTUTL_EXPORT utl_Version {
 public:
  int MajorVersion() const;
  int MinorVersion() const;
  int UpdateVersion() const;
  int CopyrightYear() const;

  /// The predicates of the release type; exactly one is true.
  bool CustomRelease() const { return type_ == VT_CUSTOM; }
  bool DevelopmentRelease() const { return type_ == VT_DEVELOPMENT; }
  bool GenMaintRelease() const { return type_ == VT_GENMAINT; }
  bool IntermediateRelease() const { return type_ == VT_INTERMEDIATE; }
  bool MaintenanceRelease() const { return type_ == VT_MAINTENANCE; }
  bool Prerelease() const { return type_ == VT_PRERELEASE; }
  bool IsLearnerEdition() const { return type_ == VT_LEARNER; }

  /// Makes this the Learner Edition, until utl_finalize destroys this object.
  void SetLearnerEdition() { type_ = VT_LEARNER; }

  /// "KESTRA" until it is set.
  cow_String ProductName() const { return productName_; }
  void SetProductName(const cow_String& name) { productName_ = name; }

  /// The product name becomes "KESTRA/Studio" or "KESTRA/Lens"; the predicates compare
  /// with exactly these.
  void SetProductStudio();
  void SetProductLens();
  bool IsProductStudio() const;
  bool IsProductLens() const;

  /// Stores the base name of `path`: "kst" for "C:\bin\kst.exe".
  void SetExecutableName(const utl_FilePath& path) { executableName_ = path.BaseName(); }

  /// The value of the environment variable KESTRA_SEQ at this moment, "" when unset.
  cow_String Sequence() const;

  /// "6.6-7" for the build's release; see VersionNumberFromValues.
  cow_String VersionNumber() const;

  /// `major`.`minor`-, then by `type`:
  ///
  ///     6, 6, 7, VT_CUSTOM        6.6-          (the "-" belongs to it)
  ///     6, 6, 7, VT_DEVELOPMENT   6.6-DEV
  ///     6, 6, 7, VT_GENMAINT      6.6-7         (VT_LEARNER the same)
  ///     6, 6, 7, VT_INTERMEDIATE  6.6-IP7 and `suffix`
  ///     6, 6, 7, VT_MAINTENANCE   6.6-MNT
  ///     6, 6, 7, VT_PRERELEASE    6.6-PR7 and `suffix`
  ///
  /// Another type is written as VT_CUSTOM. The suffix is ignored but for the two; null
  /// counts as "".
  cow_String VersionNumberFromValues(int major, int minor, int update,
                                     utl_VersionTypeEnum type, const char* suffix) const;

  /// Whether the build's type of release carries debug information; the Learner Edition
  /// does not change the answer.
  bool GetDebugInfoEnabledForVersionType() const;

  /// The versions of what the products ship: Solara with Studio only, else "".
  cow_String SolaraVersion() const;
  cow_String PythonVersion() const;
  cow_String FoxVersion() const;

  /// "KESTRA Version 6.6-7", or "KESTRA Learner Edition 6.6-7". In development mode (the
  /// environment variable KESTRA_DEVL_MODE was "TRUE" when this object was created) and
  /// with `withDevelopmentInfo`, ", " and what is known of the work directory (the
  /// variable WORK) and the snapshot (KESTRA_SEQ) are added.
  cow_String Title(bool withDevelopmentInfo) const;

  // The rest is implementation.

 private:
  friend class omi_Singleton<utl_Version>;
  utl_Version();

  cow_String DevelopmentInfo() const;

  utl_VersionTypeEnum type_;
  cow_String productName_;
  cow_String executableName_;
  bool developmentMode_;
};

extern template class KSTUTL_EXPORT omi_Singleton<utl_Version>;
