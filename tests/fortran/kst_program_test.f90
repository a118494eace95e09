! A program that uses the library through the module alone; its arguments are
!
!     -job frame -cpus 4 -title 'a long title' -interactive -large 4294967296
!
! Ends with status 1 if anything is wrong. With the option "fail" it does what ends the
! program, while a file is locked.
program kst_program_test
  use, intrinsic :: iso_fortran_env, only: int32, int64, real32, real64
  use kst_utl
  implicit none

  character(len=*), parameter :: path = 'frame.kdb'
  integer :: failures = 0

  call kst_start()
  if (kst_has_option('fail')) call end_by_failure()
  call test_command_line()
  call test_kinds()
  call test_ranks()
  call test_loading()
  call test_failures()
  call test_lock()
  call test_logs()
  call test_paths()
  call kst_end()
  call test_after_end()
  if (failures > 0) error stop 1
  print '(a)', 'all is right'

contains

  subroutine expect(right, what)
    logical, intent(in) :: right
    character(len=*), intent(in) :: what
    if (.not. right) then
      failures = failures + 1
      print '(4a)', 'wrong: ', what, '; last error: ', kst_error()
    end if
  end subroutine

  function is_there(name)
    character(len=*), intent(in) :: name
    logical :: is_there
    inquire (file=name, exist=is_there)
  end function

  subroutine end_by_failure()
    type(kst_sections) :: file
    call kst_open_logs()  ! of no job
    call file%open(path, kst_write)
    call expect(is_there(path//'.lock'), 'the lock')
    call file%set('a', 1_int32)
    print '(a)', kst_option('absent')
    error stop 'still running'
  end subroutine

  subroutine test_command_line()
    character(len=20) :: padded
    integer :: status
    padded = 'job'
    call expect(kst_option(padded) == 'frame', 'an option')
    call expect(kst_option('title') == 'a long title', 'an option with blanks')
    call expect(kst_option('interactive') == '', 'an option without a value')
    call expect(kst_option('absent', default='x') == 'x', 'a default')
    call expect(kst_option('job', default='x') == 'frame', 'an option with a default')
    call expect(kst_option('absent', status=status) == '', 'an absent option')
    call expect(status == kst_not_found, 'the status of an absent option')
    call expect(kst_has_option('interactive') .and. .not. kst_has_option('absent'), &
        'whether options are there')
    call expect(kst_option_number('cpus') == 4, 'a number')
    call expect(kst_option_number('absent', default=2) == 2, 'a default number')
    call expect(kst_option_number('absent', status=status) == 0, 'an absent number')
    call expect(status == kst_not_found, 'the status of an absent number')
    call expect(kst_option_number('job', status=status) == 0, 'no number')
    call expect(status == kst_bad_value, 'the status of no number')
    call expect(kst_option_number('large', default=3, status=status) == 0, 'too large')
    call expect(status == kst_bad_value, 'the status of a number that is too large')
    call expect(index(kst_version(), '.') > 0, 'the version')
  end subroutine

  subroutine test_kinds()
    type(kst_sections) :: file
    real(real64) :: doubles(2)
    real(real32) :: floats(3)
    integer(int64) :: wides(2)
    integer(int32) :: numbers(2)
    character(len=5) :: words(2)
    call file%open(path, kst_write)
    call file%set('real64', [1.5_real64, -1e300_real64])
    call file%set('real32', [1.5_real32, 2.5_real32, -3.0_real32])
    call file%set('int64', [huge(1_int64), -1_int64])
    call file%set('int32', [7_int32, -8_int32])
    call file%set('text', ['beam ', 'truss'])
    call expect(file%has('int32') .and. .not. file%has('INT32'), 'which sections there are')
    call file%save()
    call file%close()
    call file%open(path, kst_read)
    call expect(file%bytes('real64') == 16 .and. file%bytes('real32') == 12 .and. &
        file%bytes('int64') == 16 .and. file%bytes('int32') == 8 .and. &
        file%bytes('text') == 10, 'the sizes of sections')
    call file%get('real64', doubles)
    call expect(all(doubles == [1.5_real64, -1e300_real64]), 'real64')
    call file%get('real32', floats)
    call expect(all(floats == [1.5_real32, 2.5_real32, -3.0_real32]), 'real32')
    call file%get('int64', wides)
    call expect(all(wides == [huge(1_int64), -1_int64]), 'int64')
    call file%get('int32', numbers)
    call expect(all(numbers == [7, -8]), 'int32')
    call file%get('text', words)
    call expect(all(words == ['beam ', 'truss']), 'text')
    call file%close()
  end subroutine

  subroutine test_ranks()
    type(kst_sections) :: file
    real(real64) :: matrix(2, 3), back(2, 3), row(3), scalar
    real(real64), allocatable :: values(:)
    matrix = reshape([1, 2, 3, 4, 5, 6], [2, 3])
    call file%open(path, kst_write)
    call file%set('scalar', 2.5_real64)
    call file%set('matrix', matrix)
    call file%set('row', matrix(2, :))      ! not contiguous
    call file%set('none', matrix(:, 1:0))   ! nothing
    call file%get('scalar', scalar)
    call expect(scalar == 2.5, 'a scalar')
    call file%get('matrix', back)
    call expect(all(back == matrix), 'a matrix')
    call file%get('row', row)
    call expect(all(row == [2, 4, 6]), 'a row of a matrix')
    back = 0
    call file%get('row', back(1, :))
    call expect(all(back(1, :) == row) .and. all(back(2, :) == 0), 'into a row')
    call file%load('matrix', values)
    call expect(all(values == [1, 2, 3, 4, 5, 6]), 'column by column')
    call expect(file%bytes('none') == 0, 'nothing')
    call file%close()
  end subroutine

  subroutine test_loading()
    type(kst_sections) :: file
    real(real64), allocatable :: doubles(:)
    real(real32), allocatable :: floats(:)
    integer(int64), allocatable :: wides(:)
    integer(int32), allocatable :: numbers(:)
    character(len=:), allocatable :: text
    integer :: status
    call file%open(path, kst_write)
    call file%set('doubles', [1.5_real64, 2.5_real64])
    call file%set('text', 'twelve bytes')
    call file%set('none', '')
    call file%load('doubles', doubles)
    call expect(size(doubles) == 2 .and. all(doubles == [1.5, 2.5]), 'real64 loaded')
    call file%load('text', text)
    call expect(text == 'twelve bytes' .and. len(text) == 12, 'text loaded')
    call file%load('text', floats)
    call expect(size(floats) == 3, 'real32 loaded')
    call file%load('text', numbers)
    call expect(size(numbers) == 3, 'int32 loaded')
    call file%load('doubles', wides)
    call expect(size(wides) == 2, 'int64 loaded')
    call file%load('text', doubles, status)
    call expect(status == kst_wrong_size .and. size(doubles) == 2, 'no whole number of values')
    call file%load('absent', doubles, status)
    call expect(status == kst_not_found .and. size(doubles) == 2, 'an absent section')
    call file%load('none', doubles)
    call expect(size(doubles) == 0, 'an empty section')
    call file%load('none', text)
    call expect(len(text) == 0, 'an empty text')
    call file%close()
  end subroutine

  subroutine test_failures()
    type(kst_sections) :: file, never
    real(real64) :: values(2)
    integer :: status
    call file%open('absent.kdb', kst_read, status)
    call expect(status == kst_not_found, 'a file that is not there')
    call file%open(path, 9, status)
    call expect(status == kst_bad_argument, 'an access that is none')
    call file%set('a', values, status)
    call expect(status == kst_bad_argument, 'a file that was not opened')
    call never%close(status)
    call expect(status == kst_bad_argument, 'closing what was not opened')
    call expect(.not. never%has('a'), 'a section of no file')
    call file%open(path, kst_write)
    values = 7
    call file%set('a', [1.0_real64])
    call file%get('a', values, status)
    call expect(status == kst_wrong_size .and. all(values == 7), 'a wrong size')
    call expect(kst_error() == 'kst_getSection: section "a" has 8 bytes, not 16', 'its words')
    call file%get('b', values, status)
    call expect(status == kst_not_found, 'a section that is not there')
    call file%save()
    call file%close()
    call file%close(status)
    call expect(status == kst_bad_handle, 'closing twice')
    call file%get('a', values, status)
    call expect(status == kst_bad_handle, 'a file that was closed')
    call file%open(path, kst_read)
    call file%set('a', values, status)
    call expect(status == kst_read_only, 'setting in a file for reading')
    call file%save(status)
    call expect(status == kst_read_only, 'saving a file for reading')
    call file%close()
  end subroutine

  subroutine test_lock()
    type(kst_sections) :: file, other
    integer :: status
    call file%open(path, kst_write)
    call expect(is_there(path//'.lock'), 'the lock')
    call other%open(path, kst_update, status)
    call expect(status == kst_locked, 'a second writer')
    call file%close()
    call expect(.not. is_there(path//'.lock'), 'the lock that is gone')
  end subroutine

  subroutine test_logs()
    integer :: status
    call kst_open_logs()
    call kst_begin_phase(1, 'assembly')
    call kst_mark('half of it')
    call kst_track_open(12, 'a.dat')
    call kst_track_write(12, 100_int64, 0.5_real64)
    call kst_track_read(12, 100_int64, 0.5_real64)
    call kst_track_close(12)
    call kst_end_phase(1)
    call kst_begin_phase(20, 'none', status)
    call expect(status == kst_bad_argument, 'a timer that is none')
    call kst_end_phase(1, status)
    call expect(status == kst_bad_argument, 'a phase that does not run')
    call expect(has('frame.use', 'assembly') .and. has('frame.use', 'half of it'), 'the marks')
  end subroutine

  subroutine test_paths()
    character(len=1000) :: native  ! OPEN looks one byte beyond a text that has no blanks
    integer :: unit
    native = kst_native_path(kst_job_file('.dat'))
    open (newunit=unit, file=native, status='replace')
    close (unit)
    call expect(is_there('frame.dat'), 'the file under its native path')
  end subroutine

  subroutine test_after_end()
    type(kst_sections) :: file
    integer :: status
    call kst_end(status)
    call expect(status == kst_not_started, 'one end too many')
    call file%open(path, kst_read, status)
    call expect(status == kst_not_started, 'a file after the end')
    call expect(.not. kst_has_option('job'), 'an option after the end')
    call expect(kst_option('job', default='x', status=status) == '' .and. &
        status == kst_not_started, 'a default after the end')
    call expect(has('frame.ioFileSummary', 'a.dat'), 'the summary of the tracker')
  end subroutine

  ! Whether a file has the text in one of its lines.
  function has(name, text)
    character(len=*), intent(in) :: name, text
    logical :: has
    character(len=500) :: line
    integer :: unit, status
    has = .false.
    open (newunit=unit, file=name, action='read', status='old', iostat=status)
    do while (status == 0 .and. .not. has)
      read (unit, '(a)', iostat=status) line
      if (status == 0) has = index(line, text) > 0
    end do
    close (unit)
  end function

end program
