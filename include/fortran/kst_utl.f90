! The library for programs in Fortran: start and end, the command line, files of sections,
! marks of the program's phases.
!
! Add this file to your project, link with the library KSTutl, and write
!
!     program beam
!       use, intrinsic :: iso_fortran_env, only: real64
!       use kst_utl
!       implicit none
!       type(kst_sections) :: file
!       real(real64), allocatable :: loads(:)
!
!       call kst_start()                            ! beam -job frame -cpus 4
!       call kst_open_logs()
!       print *, kst_option('job', default='beam'), kst_option_number('cpus', default=1)
!
!       call kst_begin_phase(1, 'write')
!       call file%open('beam.kdb', kst_write)
!       call file%set('loads', [1.5_real64, -2.0_real64])
!       call file%save()                            ! until here the file has nothing of it
!       call kst_end_phase(1)
!
!       call file%load('loads', loads)              ! allocated to the section's size
!       call file%close()
!       call kst_end()
!     end program
!
! Errors: whatever can fail has a last argument, status. If it is present, a failure sets
! it to one of the constants below, and kst_error() says in words what was wrong; without
! it the program ends with these words on the standard error stream and status 1. What a
! failed procedure was to set is unchanged, except for values read from a damaged section.
!
! Names and paths have no blanks at their ends: there Fortran's padding is ignored. Letter
! case counts. Values are stored as they lie in memory, so that what is written as real64
! must be read as real64, and C and C++ programs see an array of any rank column by
! column.
!
! Threads: one file by one thread at a time; start, end, marks and phases by the main
! thread; all else by any.
module kst_utl
  use, intrinsic :: iso_c_binding, only: c_char, c_double, c_f_pointer, c_int, &
      c_int64_t, c_loc, c_null_char, c_null_ptr, c_ptr, c_size_t
  use, intrinsic :: iso_fortran_env, only: error_unit, int32, int64, real32, real64
  implicit none
  private

  public :: kst_start, kst_end, kst_error, kst_version
  public :: kst_has_option, kst_option, kst_option_number
  public :: kst_job_file, kst_native_path
  public :: kst_open_logs, kst_mark, kst_begin_phase, kst_end_phase
  public :: kst_track_open, kst_track_close, kst_track_read, kst_track_write
  public :: kst_sections

  ! The results of a call; utl_c.h explains them.
  enum, bind(c)
    enumerator :: kst_ok = 0, kst_bad_argument = 1, kst_not_started = 2, &
        kst_bad_handle = 3, kst_not_found = 4, kst_wrong_size = 5, kst_bad_value = 6, &
        kst_damaged = 7, kst_locked = 8, kst_system_error = 9, kst_no_memory = 10, &
        kst_read_only = 11, kst_failed = 12
  end enum
  public :: kst_ok, kst_bad_argument, kst_not_started, kst_bad_handle, kst_not_found, &
      kst_wrong_size, kst_bad_value, kst_damaged, kst_locked, kst_system_error, &
      kst_no_memory, kst_read_only, kst_failed

  ! How a file is opened: an existing one for reading, or for both; a new or emptied one.
  enum, bind(c)
    enumerator :: kst_read = 0, kst_update = 1, kst_write = 2
  end enum
  public :: kst_read, kst_update, kst_write

  ! A file of named sections, each with a checksum. Of several variables for one file,
  ! copied by assignment, only one may be closed.
  type :: kst_sections
    private
    type(c_ptr) :: handle = c_null_ptr
  contains
    ! call file%open(path, access [, status]). A file that is open for writing is locked.
    procedure :: open => sections_open
    ! call file%close([status]). Does not save.
    procedure :: close => sections_close
    ! call file%save([status]): puts all that was set into the file, atomically.
    procedure :: save => sections_save
    ! file%has(name): whether there is such a section. False if no file is open.
    procedure :: has => sections_has
    ! file%bytes(name [, status]): the section's length.
    procedure :: bytes => sections_bytes
    ! call file%set(name, values [, status]): values may be a scalar, or an array of any
    ! rank, of real64, real32, int64, int32 or character.
    generic :: set => set_real64, set_real32, set_int64, set_int32, set_text
    ! call file%get(name, values [, status]): fills the values, whose size in bytes is that
    ! of the section exactly, else the status is kst_wrong_size.
    generic :: get => get_real64, get_real32, get_int64, get_int32, get_text
    ! call file%load(name, values [, status]): allocates the array, or the text, to the
    ! section's size and fills it. kst_wrong_size where that is no whole number of values.
    generic :: load => load_real64, load_real32, load_int64, load_int32, load_text
    procedure, private :: set_real64, set_real32, set_int64, set_int32, set_text
    procedure, private :: get_real64, get_real32, get_int64, get_int32, get_text
    procedure, private :: load_real64, load_real32, load_int64, load_int32, load_text
  end type

  ! The library's older interface for Fortran, for the command line only. The names of
  ! options are written without their "-". The first three procedures ignore blanks at
  ! both ends of a name, so that a variable of any length can hold it. The lengths of the
  ! character arguments come last, in the order of those arguments. May be called from any
  ! thread.
  !
  !     character(len=32) :: name
  !     character(len=80) :: job
  !     integer(c_int)    :: cpus, length, status
  !
  !     name = 'job'                                  ! beam -job frame -interactive -cpus 4
  !     call utl_commandlinestring(name, job, length, len(name), len(job))
  !     ! job is 'frame' followed by blanks, length is 5
  !     call utl_commandlineinteger('cpus', cpus, len('cpus'))
  !     ! cpus is 4
  !     call utl_commandlineismember('interactive', status, len('interactive'))
  !     ! status is 0: the option is there
  public :: utl_commandlineinteger, utl_commandlineismember, utl_commandlinestring
  public :: utl_commandlinestringc, utl_getargs

  interface

    ! value: the option's value as a number; 0 if the option is absent or has no value.
    ! A value with anything but digits in it ends the program.
    subroutine utl_commandlineinteger(name, value, name_length) &
        bind(c, name='UTL_COMMANDLINEINTEGER')
      import :: c_char, c_int
      character(kind=c_char), dimension(*), intent(in) :: name
      integer(c_int), intent(out) :: value
      integer(c_int), value :: name_length
    end subroutine

    ! status: 0 if the option is given, with or without a value, and 1 if it is not.
    subroutine utl_commandlineismember(name, status, name_length) &
        bind(c, name='UTL_COMMANDLINEISMEMBER')
      import :: c_char, c_int
      character(kind=c_char), dimension(*), intent(in) :: name
      integer(c_int), intent(out) :: status
      integer(c_int), value :: name_length
    end subroutine

    ! value:  the option's value, padded with blanks. It stays as it was if the option is
    !         absent or its value is longer than the variable.
    ! status: the length of the value without the padding, and 0 where value stays as it
    !         was. An empty value has the length 0 too: utl_commandlineismember tells.
    subroutine utl_commandlinestring(name, value, status, name_length, value_length) &
        bind(c, name='UTL_COMMANDLINESTRING')
      import :: c_char, c_int
      character(kind=c_char), dimension(*), intent(in) :: name
      character(kind=c_char), dimension(*), intent(inout) :: value
      integer(c_int), intent(out) :: status
      integer(c_int), value :: name_length
      integer(c_int), value :: value_length
    end subroutine

    ! The same as a function, for a name that ends with c_null_char and has no blanks
    ! around it: 'job'//c_null_char. buffer_length is the length of buffer.
    function utl_commandlinestringc(name, buffer, buffer_length) result(length) &
        bind(c, name='utl_CommandLineStringC')
      import :: c_char, c_int
      character(kind=c_char), dimension(*), intent(in) :: name
      character(kind=c_char), dimension(*), intent(inout) :: buffer
      integer(c_int), value :: buffer_length
      integer(c_int) :: length
    end function

    ! The option's value in buffer, ended by c_null_char and not padded; the result is its
    ! length, 0 with buffer as it was if the option is absent. The name ends with
    ! c_null_char. buffer must be long enough for any value: this is not checked.
    function utl_getargs(name, buffer) result(length) bind(c, name='utl_getArgs')
      import :: c_char, c_int
      character(kind=c_char), dimension(*), intent(in) :: name
      character(kind=c_char), dimension(*), intent(inout) :: buffer
      integer(c_int) :: length
    end function

  end interface

  ! The functions of utl_c.h.
  interface
    function c_start(argc, argv) bind(c, name='kst_start') result(status)
      import :: c_int, c_ptr
      integer(c_int), value :: argc
      type(c_ptr), intent(in) :: argv(*)
      integer(c_int) :: status
    end function
    function c_end() bind(c, name='kst_end') result(status)
      import :: c_int
      integer(c_int) :: status
    end function
    function c_last_error() bind(c, name='kst_lastError') result(text)
      import :: c_ptr
      type(c_ptr) :: text
    end function
    function c_has_option(name, there) bind(c, name='kst_hasOption') result(status)
      import :: c_char, c_int
      character(kind=c_char), intent(in) :: name(*)
      integer(c_int), intent(inout) :: there
      integer(c_int) :: status
    end function
    function c_option_number(name, number) bind(c, name='kst_optionNumber') result(status)
      import :: c_char, c_int, c_int64_t
      character(kind=c_char), intent(in) :: name(*)
      integer(c_int64_t), intent(inout) :: number
      integer(c_int) :: status
    end function
    function c_open_sections(path, access, handle) bind(c, name='kst_openSections') &
        result(status)
      import :: c_char, c_int, c_ptr
      character(kind=c_char), intent(in) :: path(*)
      integer(c_int), value :: access
      type(c_ptr), intent(inout) :: handle
      integer(c_int) :: status
    end function
    function c_close_sections(handle) bind(c, name='kst_closeSections') result(status)
      import :: c_int, c_ptr
      type(c_ptr), value :: handle
      integer(c_int) :: status
    end function
    function c_save_sections(handle) bind(c, name='kst_saveSections') result(status)
      import :: c_int, c_ptr
      type(c_ptr), value :: handle
      integer(c_int) :: status
    end function
    function c_has_section(handle, name, there) bind(c, name='kst_hasSection') &
        result(status)
      import :: c_char, c_int, c_ptr
      type(c_ptr), value :: handle
      character(kind=c_char), intent(in) :: name(*)
      integer(c_int), intent(inout) :: there
      integer(c_int) :: status
    end function
    function c_section_size(handle, name, bytes) bind(c, name='kst_sectionSize') &
        result(status)
      import :: c_char, c_int, c_ptr, c_size_t
      type(c_ptr), value :: handle
      character(kind=c_char), intent(in) :: name(*)
      integer(c_size_t), intent(inout) :: bytes
      integer(c_int) :: status
    end function
    function c_get_section(handle, name, values, bytes) bind(c, name='kst_getSection') &
        result(status)
      import :: c_char, c_int, c_ptr, c_size_t
      type(c_ptr), value :: handle, values
      character(kind=c_char), intent(in) :: name(*)
      integer(c_size_t), value :: bytes
      integer(c_int) :: status
    end function
    function c_set_section(handle, name, values, bytes) bind(c, name='kst_setSection') &
        result(status)
      import :: c_char, c_int, c_ptr, c_size_t
      type(c_ptr), value :: handle, values
      character(kind=c_char), intent(in) :: name(*)
      integer(c_size_t), value :: bytes
      integer(c_int) :: status
    end function
    function c_open_logs(job) bind(c, name='kst_openLogs') result(status)
      import :: c_char, c_int
      character(kind=c_char), intent(in) :: job(*)
      integer(c_int) :: status
    end function
    function c_mark(label) bind(c, name='kst_mark') result(status)
      import :: c_char, c_int
      character(kind=c_char), intent(in) :: label(*)
      integer(c_int) :: status
    end function
    function c_begin_phase(timer, name) bind(c, name='kst_beginPhase') result(status)
      import :: c_char, c_int
      integer(c_int), value :: timer
      character(kind=c_char), intent(in) :: name(*)
      integer(c_int) :: status
    end function
    function c_end_phase(timer) bind(c, name='kst_endPhase') result(status)
      import :: c_int
      integer(c_int), value :: timer
      integer(c_int) :: status
    end function
    function c_track_open(table, key, path) bind(c, name='kst_trackOpen') result(status)
      import :: c_char, c_int, c_int64_t
      integer(c_int), value :: table
      integer(c_int64_t), value :: key
      character(kind=c_char), intent(in) :: path(*)
      integer(c_int) :: status
    end function
    function c_track_close(table, key) bind(c, name='kst_trackClose') result(status)
      import :: c_int, c_int64_t
      integer(c_int), value :: table
      integer(c_int64_t), value :: key
      integer(c_int) :: status
    end function
    function c_track_read(table, key, bytes, seconds) bind(c, name='kst_trackRead') &
        result(status)
      import :: c_double, c_int, c_int64_t
      integer(c_int), value :: table
      integer(c_int64_t), value :: key, bytes
      real(c_double), value :: seconds
      integer(c_int) :: status
    end function
    function c_track_write(table, key, bytes, seconds) bind(c, name='kst_trackWrite') &
        result(status)
      import :: c_double, c_int, c_int64_t
      integer(c_int), value :: table
      integer(c_int64_t), value :: key, bytes
      real(c_double), value :: seconds
      integer(c_int) :: status
    end function
  end interface

  ! The functions that return a text.
  abstract interface
    function c_asked_text(question, buffer, bytes, length) bind(c) result(status)
      import :: c_char, c_int, c_ptr, c_size_t
      character(kind=c_char), intent(in) :: question(*)
      type(c_ptr), value :: buffer
      integer(c_size_t), value :: bytes
      integer(c_size_t), intent(inout) :: length
      integer(c_int) :: status
    end function
  end interface
  interface
    function c_option(name, buffer, bytes, length) bind(c, name='kst_option') &
        result(status)
      import :: c_char, c_int, c_ptr, c_size_t
      character(kind=c_char), intent(in) :: name(*)
      type(c_ptr), value :: buffer
      integer(c_size_t), value :: bytes
      integer(c_size_t), intent(inout) :: length
      integer(c_int) :: status
    end function
    function c_job_file(ending, buffer, bytes, length) bind(c, name='kst_jobFileName') &
        result(status)
      import :: c_char, c_int, c_ptr, c_size_t
      character(kind=c_char), intent(in) :: ending(*)
      type(c_ptr), value :: buffer
      integer(c_size_t), value :: bytes
      integer(c_size_t), intent(inout) :: length
      integer(c_int) :: status
    end function
    function c_native_path(path, buffer, bytes, length) bind(c, name='kst_nativePath') &
        result(status)
      import :: c_char, c_int, c_ptr, c_size_t
      character(kind=c_char), intent(in) :: path(*)
      type(c_ptr), value :: buffer
      integer(c_size_t), value :: bytes
      integer(c_size_t), intent(inout) :: length
      integer(c_int) :: status
    end function
    function c_version(buffer, bytes, length) bind(c, name='kst_versionText') &
        result(status)
      import :: c_int, c_ptr, c_size_t
      type(c_ptr), value :: buffer
      integer(c_size_t), value :: bytes
      integer(c_size_t), intent(inout) :: length
      integer(c_int) :: status
    end function
  end interface

  integer(c_int), parameter :: units = 1  ! the tracker's table

contains

  ! Passes a status on, or ends first the library, so that no lock is left behind, and
  ! then the program.
  subroutine answer(actual, status)
    integer(c_int), intent(in) :: actual
    integer, intent(out), optional :: status
    if (present(status)) then
      status = actual
    else if (actual /= kst_ok) then
      write (error_unit, '(a)') kst_error()
      do while (c_end() /= kst_not_started)
      end do
      stop 1, quiet=.true.
    end if
  end subroutine

  pure function c_text(text) result(terminated)
    character(len=*), intent(in) :: text
    character(len=:), allocatable :: terminated
    terminated = trim(text)//c_null_char
  end function

  ! The text that a function returns, "" after a failure.
  function asked(ask, question, actual) result(text)
    procedure(c_asked_text) :: ask
    character(len=*), intent(in) :: question
    integer(c_int), intent(out) :: actual
    character(len=:), allocatable :: text
    character(len=:), allocatable, target :: buffer
    integer(c_size_t) :: length
    length = 0
    text = ''
    actual = ask(c_text(question), c_null_ptr, 0_c_size_t, length)
    if (actual == kst_ok) then
      allocate (character(len=length + 1) :: buffer)
      actual = ask(c_text(question), c_loc(buffer), length + 1, length)
      if (actual == kst_ok) text = buffer(1:length)
    end if
  end function

  ! Starts the library and loads the program's command line. Starts may be nested, each
  ! with a kst_end of its own.
  subroutine kst_start(status)
    integer, intent(out), optional :: status
    type :: argument
      character(len=:), allocatable :: text
    end type
    type(argument), allocatable, target :: arguments(:)
    type(c_ptr), allocatable :: addresses(:)
    integer :: i, length
    allocate (arguments(0:command_argument_count()), addresses(0:command_argument_count()))
    do i = 0, ubound(arguments, 1)
      call get_command_argument(i, length=length)
      allocate (character(len=length + 1) :: arguments(i)%text)
      call get_command_argument(i, arguments(i)%text)
      arguments(i)%text(length + 1:) = c_null_char
      addresses(i) = c_loc(arguments(i)%text)
    end do
    call answer(c_start(int(size(addresses), c_int), addresses), status)
  end subroutine

  ! Ends the library at the call that matches the first kst_start, and closes what is open.
  subroutine kst_end(status)
    integer, intent(out), optional :: status
    call answer(c_end(), status)
  end subroutine

  ! Why the last failed procedure of this thread failed.
  function kst_error() result(text)
    character(len=:), allocatable :: text
    character(kind=c_char), pointer :: chars(:)
    integer :: i
    call c_f_pointer(c_last_error(), chars, [1024])
    text = ''
    do i = 1, size(chars)
      if (chars(i) == c_null_char) exit
      text = text//chars(i)
    end do
  end function

  ! The library's release, as '6.6-7'.
  function kst_version(status) result(text)
    integer, intent(out), optional :: status
    character(len=:), allocatable :: text
    integer(c_int) :: actual
    character(len=40), target :: buffer
    integer(c_size_t) :: length
    length = 0
    text = ''
    actual = c_version(c_loc(buffer), len(buffer, kind=c_size_t), length)
    if (actual == kst_ok) text = buffer(1:length)
    call answer(actual, status)
  end function

  ! Whether the option is given, with or without a value. False before kst_start.
  function kst_has_option(name) result(there)
    character(len=*), intent(in) :: name
    logical :: there
    integer(c_int) :: number
    number = 0
    there = c_has_option(c_text(name), number) == kst_ok .and. number /= 0
  end function

  ! The option's value; where the option is not given, the default, or kst_not_found when
  ! there is none. '' for an option without a value.
  function kst_option(name, default, status) result(value)
    character(len=*), intent(in) :: name
    character(len=*), intent(in), optional :: default
    integer, intent(out), optional :: status
    character(len=:), allocatable :: value
    integer(c_int) :: actual
    value = asked(c_option, name, actual)
    if (actual == kst_not_found .and. present(default)) then
      value = default
      actual = kst_ok
    end if
    call answer(actual, status)
  end function

  ! The option's value as a number of digits alone; where the option is not given, the
  ! default, or kst_not_found when there is none. 0 for an option without a value, and
  ! after a failure. kst_bad_value for one that is no such number, or too large.
  function kst_option_number(name, default, status) result(value)
    character(len=*), intent(in) :: name
    integer, intent(in), optional :: default
    integer, intent(out), optional :: status
    integer :: value
    integer(c_int64_t) :: number
    integer(c_int) :: actual
    value = 0
    number = 0
    actual = c_option_number(c_text(name), number)
    if (actual == kst_not_found .and. present(default)) then
      value = default
      actual = kst_ok
    else if (actual == kst_ok) then
      if (number > huge(value)) then
        actual = kst_bad_value
      else
        value = int(number)
      end if
    end if
    call answer(actual, status)
  end function

  ! The path of the job's file with this ending, from the options "job" and "outdir".
  function kst_job_file(ending, status) result(path)
    character(len=*), intent(in) :: ending
    integer, intent(out), optional :: status
    character(len=:), allocatable :: path
    integer(c_int) :: actual
    path = asked(c_job_file, ending, actual)
    call answer(actual, status)
  end function

  ! A path of the library in the form of the system, as Fortran's OPEN takes it.
  function kst_native_path(path, status) result(native)
    character(len=*), intent(in) :: path
    integer, intent(out), optional :: status
    character(len=:), allocatable :: native
    integer(c_int) :: actual
    native = asked(c_native_path, path, actual)
    call answer(actual, status)
  end function

  ! Begins the logs of the job, if the environment asks for them. Without `job` it is that
  ! of the command line, and without the option "job" there are none.
  subroutine kst_open_logs(job, status)
    character(len=*), intent(in), optional :: job
    integer, intent(out), optional :: status
    character(len=:), allocatable :: path
    integer(c_int) :: actual
    if (present(job)) then
      actual = c_open_logs(c_text(job))
    else
      path = asked(c_job_file, '', actual)
      if (actual == kst_ok) actual = c_open_logs(c_text(path))
      if (actual == kst_not_found) actual = kst_ok
    end if
    call answer(actual, status)
  end subroutine

  ! A line with this label in the logs.
  subroutine kst_mark(label, status)
    character(len=*), intent(in) :: label
    integer, intent(out), optional :: status
    call answer(c_mark(c_text(label)), status)
  end subroutine

  ! Begins a phase, timed by the timer, 0 to 19, and marked when it ends.
  subroutine kst_begin_phase(timer, name, status)
    integer, intent(in) :: timer
    character(len=*), intent(in) :: name
    integer, intent(out), optional :: status
    call answer(c_begin_phase(int(timer, c_int), c_text(name)), status)
  end subroutine

  subroutine kst_end_phase(timer, status)
    integer, intent(in) :: timer
    integer, intent(out), optional :: status
    call answer(c_end_phase(int(timer, c_int)), status)
  end subroutine

  ! Report to the I/O tracker: that the unit stands for the file `path`, that it no longer
  ! does, and an operation of so many bytes that took so many seconds. Nothing happens
  ! unless the environment asks for a tracker.

  subroutine kst_track_open(unit, path, status)
    integer, intent(in) :: unit
    character(len=*), intent(in) :: path
    integer, intent(out), optional :: status
    call answer(c_track_open(units, int(unit, c_int64_t), c_text(path)), status)
  end subroutine

  subroutine kst_track_close(unit, status)
    integer, intent(in) :: unit
    integer, intent(out), optional :: status
    call answer(c_track_close(units, int(unit, c_int64_t)), status)
  end subroutine

  subroutine kst_track_read(unit, bytes, seconds, status)
    integer, intent(in) :: unit
    integer(int64), intent(in) :: bytes
    real(real64), intent(in) :: seconds
    integer, intent(out), optional :: status
    call answer(c_track_read(units, int(unit, c_int64_t), bytes, seconds), status)
  end subroutine

  subroutine kst_track_write(unit, bytes, seconds, status)
    integer, intent(in) :: unit
    integer(int64), intent(in) :: bytes
    real(real64), intent(in) :: seconds
    integer, intent(out), optional :: status
    call answer(c_track_write(units, int(unit, c_int64_t), bytes, seconds), status)
  end subroutine

  subroutine sections_open(self, path, access, status)
    class(kst_sections), intent(inout) :: self
    character(len=*), intent(in) :: path
    integer, intent(in) :: access
    integer, intent(out), optional :: status
    call answer(c_open_sections(c_text(path), int(access, c_int), self%handle), status)
  end subroutine

  subroutine sections_close(self, status)
    class(kst_sections), intent(inout) :: self
    integer, intent(out), optional :: status
    call answer(c_close_sections(self%handle), status)
  end subroutine

  subroutine sections_save(self, status)
    class(kst_sections), intent(inout) :: self
    integer, intent(out), optional :: status
    call answer(c_save_sections(self%handle), status)
  end subroutine

  function sections_has(self, name) result(there)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    logical :: there
    integer(c_int) :: number
    number = 0
    there = c_has_section(self%handle, c_text(name), number) == kst_ok .and. number /= 0
  end function

  function sections_bytes(self, name, status) result(bytes)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    integer, intent(out), optional :: status
    integer(c_size_t) :: bytes
    bytes = 0
    call answer(c_section_size(self%handle, c_text(name), bytes), status)
  end function

  ! The number of values of this storage size that the section has; kst_wrong_size when
  ! there is a remainder.
  function section_count(self, name, bits, actual) result(count)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    integer, intent(in) :: bits
    integer(c_int), intent(out) :: actual
    integer(c_size_t) :: count
    character, target :: none(1)
    count = 0
    actual = c_section_size(self%handle, c_text(name), count)
    if (actual == kst_ok .and. mod(8 * count, int(bits, c_size_t)) /= 0) then
      ! This fails, too, and gives kst_error() its text.
      count = 8 * count / bits * bits / 8
      actual = c_get_section(self%handle, c_text(name), c_loc(none), count)
    end if
    count = 8 * count / bits
  end function

  subroutine set_real64(self, name, values, status)
    class(kst_sections), intent(inout) :: self
    character(len=*), intent(in) :: name
    real(real64), intent(in), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_set_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * storage_size(values) / 8), status)
  end subroutine

  subroutine set_real32(self, name, values, status)
    class(kst_sections), intent(inout) :: self
    character(len=*), intent(in) :: name
    real(real32), intent(in), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_set_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * storage_size(values) / 8), status)
  end subroutine

  subroutine set_int64(self, name, values, status)
    class(kst_sections), intent(inout) :: self
    character(len=*), intent(in) :: name
    integer(int64), intent(in), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_set_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * storage_size(values) / 8), status)
  end subroutine

  subroutine set_int32(self, name, values, status)
    class(kst_sections), intent(inout) :: self
    character(len=*), intent(in) :: name
    integer(int32), intent(in), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_set_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * storage_size(values) / 8), status)
  end subroutine

  subroutine set_text(self, name, values, status)
    class(kst_sections), intent(inout) :: self
    character(len=*), intent(in) :: name
    character(len=*), intent(in), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_set_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * len(values)), status)
  end subroutine

  subroutine get_real64(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    real(real64), intent(inout), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_get_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * storage_size(values) / 8), status)
  end subroutine

  subroutine get_real32(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    real(real32), intent(inout), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_get_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * storage_size(values) / 8), status)
  end subroutine

  subroutine get_int64(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    integer(int64), intent(inout), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_get_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * storage_size(values) / 8), status)
  end subroutine

  subroutine get_int32(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    integer(int32), intent(inout), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_get_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * storage_size(values) / 8), status)
  end subroutine

  subroutine get_text(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    character(len=*), intent(inout), contiguous, target :: values(..)
    integer, intent(out), optional :: status
    call answer(c_get_section(self%handle, c_text(name), c_loc(values), &
        size(values, kind=c_size_t) * len(values)), status)
  end subroutine

  subroutine load_real64(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    real(real64), intent(inout), allocatable :: values(:)
    integer, intent(out), optional :: status
    real(real64), allocatable :: loaded(:)
    integer(c_int) :: actual
    integer(c_size_t) :: count
    count = section_count(self, name, storage_size(loaded), actual)
    if (actual == kst_ok) then
      allocate (loaded(count))
      call self%get_real64(name, loaded, actual)
      if (actual == kst_ok) call move_alloc(loaded, values)
    end if
    call answer(actual, status)
  end subroutine

  subroutine load_real32(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    real(real32), intent(inout), allocatable :: values(:)
    integer, intent(out), optional :: status
    real(real32), allocatable :: loaded(:)
    integer(c_int) :: actual
    integer(c_size_t) :: count
    count = section_count(self, name, storage_size(loaded), actual)
    if (actual == kst_ok) then
      allocate (loaded(count))
      call self%get_real32(name, loaded, actual)
      if (actual == kst_ok) call move_alloc(loaded, values)
    end if
    call answer(actual, status)
  end subroutine

  subroutine load_int64(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    integer(int64), intent(inout), allocatable :: values(:)
    integer, intent(out), optional :: status
    integer(int64), allocatable :: loaded(:)
    integer(c_int) :: actual
    integer(c_size_t) :: count
    count = section_count(self, name, storage_size(loaded), actual)
    if (actual == kst_ok) then
      allocate (loaded(count))
      call self%get_int64(name, loaded, actual)
      if (actual == kst_ok) call move_alloc(loaded, values)
    end if
    call answer(actual, status)
  end subroutine

  subroutine load_int32(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    integer(int32), intent(inout), allocatable :: values(:)
    integer, intent(out), optional :: status
    integer(int32), allocatable :: loaded(:)
    integer(c_int) :: actual
    integer(c_size_t) :: count
    count = section_count(self, name, storage_size(loaded), actual)
    if (actual == kst_ok) then
      allocate (loaded(count))
      call self%get_int32(name, loaded, actual)
      if (actual == kst_ok) call move_alloc(loaded, values)
    end if
    call answer(actual, status)
  end subroutine

  subroutine load_text(self, name, values, status)
    class(kst_sections), intent(in) :: self
    character(len=*), intent(in) :: name
    character(len=:), intent(inout), allocatable :: values
    integer, intent(out), optional :: status
    character(len=:), allocatable :: loaded
    integer(c_int) :: actual
    integer(c_size_t) :: count
    count = section_count(self, name, 8, actual)
    if (actual == kst_ok) then
      allocate (character(len=count) :: loaded)
      call self%get_text(name, loaded, actual)
      if (actual == kst_ok) call move_alloc(loaded, values)
    end if
    call answer(actual, status)
  end subroutine

end module
