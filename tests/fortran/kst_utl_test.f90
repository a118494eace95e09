! Asks the command line from Fortran. Ends with status 1 if any answer is wrong.
program kst_utl_test
  use, intrinsic :: iso_c_binding, only: c_int, c_null_char
  use kst_utl
  implicit none

  interface
    subroutine load_arguments() bind(c)
    end subroutine
  end interface

  integer :: failures = 0

  call load_arguments()
  call test_integer()
  call test_ismember()
  call test_string()
  call test_stringc()
  call test_getargs()
  if (failures > 0) error stop 1
  print '(a)', 'all answers are right'

contains

  subroutine expect(right, what)
    logical, intent(in) :: right
    character(len=*), intent(in) :: what
    if (.not. right) then
      failures = failures + 1
      print '(2a)', 'wrong: ', what
    end if
  end subroutine

  ! The value of an option as a number, and 0 where an option is there.

  function number(name) result(value)
    character(len=*), intent(in) :: name
    integer(c_int) :: value
    value = -99
    call utl_commandlineinteger(name, value, len(name))
  end function

  function absence(name) result(status)
    character(len=*), intent(in) :: name
    integer(c_int) :: status
    status = -99
    call utl_commandlineismember(name, status, len(name))
  end function

  subroutine test_integer()
    character(len=32), parameter :: padded = 'cpus'
    call expect(number(padded) == 4, 'a number under a padded name')
    call expect(number('absent') == 0, 'the number of an absent option')
    call expect(number('interactive') == 0, 'the number of an option without a value')
  end subroutine

  subroutine test_ismember()
    character(len=32), parameter :: padded = '   interactive'
    call expect(absence(padded) == 0, 'an option that is there')
    call expect(absence('absent') == 1, 'an option that is not there')
    call expect(absence('JOB') == 1, 'an option in other letters')
  end subroutine

  ! What a variable full of question marks becomes, and its status.
  subroutine expect_string(name, filled, length, what)
    character(len=*), intent(in) :: name, filled, what
    integer, intent(in) :: length
    character(len=32) :: padded
    character(len=len(filled)) :: value
    integer(c_int) :: status
    padded = name
    value = repeat('?', len(value))
    status = -99
    call utl_commandlinestring(padded, value, status, len(padded), len(value))
    call expect(value == filled .and. status == length, what)
  end subroutine

  subroutine test_string()
    call expect_string('job', 'beam    ', 4, 'a value that is padded')
    call expect_string('job', 'beam', 4, 'a value that fills its variable')
    call expect_string('title', '????????', 0, 'a value that is too long')
    call expect_string('absent', '????????', 0, 'the value of an absent option')
    call expect_string('interactive', '        ', 0, 'an empty value')
  end subroutine

  subroutine test_stringc()
    character(len=8) :: buffer
    buffer = '????????'
    call expect(utl_commandlinestringc('job'//c_null_char, buffer, len(buffer)) == 4, &
        'the length of a value by function')
    call expect(buffer == 'beam' .and. buffer(5:8) == '    ', 'a value by function')
    buffer = '????????'
    call expect(utl_commandlinestringc('job '//c_null_char, buffer, len(buffer)) == 0, &
        'a name with a blank')
    call expect(buffer == '????????', 'a buffer without a value')
  end subroutine

  subroutine test_getargs()
    character(len=80) :: buffer
    buffer = repeat('?', 80)
    call expect(utl_getargs('title'//c_null_char, buffer) == 12, &
        'the length of an argument')
    call expect(buffer(1:14) == 'a long title'//c_null_char//'?', 'an argument')
    call expect(utl_getargs('absent'//c_null_char, buffer) == 0, 'an absent argument')
    call expect(buffer(1:14) == 'a long title'//c_null_char//'?', 'a buffer left alone')
  end subroutine

end program
