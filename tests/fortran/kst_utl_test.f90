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

  subroutine test_integer()
    character(len=32) :: name
    integer(c_int) :: value
    name = 'cpus'
    value = -99
    call utl_commandlineinteger(name, value, len(name))
    call expect(value == 4, 'a number under a padded name')
    value = -99
    call utl_commandlineinteger('absent', value, len('absent'))
    call expect(value == 0, 'the number of an absent option')
    value = -99
    call utl_commandlineinteger('interactive', value, len('interactive'))
    call expect(value == 0, 'the number of an option without a value')
  end subroutine

  subroutine test_ismember()
    character(len=32) :: name
    integer(c_int) :: status
    name = '   interactive'
    status = -99
    call utl_commandlineismember(name, status, len(name))
    call expect(status == 0, 'an option that is there')
    status = -99
    call utl_commandlineismember('absent', status, len('absent'))
    call expect(status == 1, 'an option that is not there')
    status = -99
    call utl_commandlineismember('JOB', status, len('JOB'))
    call expect(status == 1, 'an option in other letters')
  end subroutine

  subroutine test_string()
    character(len=32) :: name
    character(len=8) :: value
    character(len=4) :: exact
    integer(c_int) :: status
    name = 'job'
    value = '????????'
    call utl_commandlinestring(name, value, status, len(name), len(value))
    call expect(value == 'beam' .and. value(5:8) == '    ', 'a value that is padded')
    call expect(status == 4, 'the length of a value')
    exact = '????'
    call utl_commandlinestring(name, exact, status, len(name), len(exact))
    call expect(exact == 'beam' .and. status == 4, 'a value that fills its variable')
    name = 'title'
    value = '????????'
    call utl_commandlinestring(name, value, status, len(name), len(value))
    call expect(value == '????????' .and. status == 0, 'a value that is too long')
    name = 'absent'
    call utl_commandlinestring(name, value, status, len(name), len(value))
    call expect(value == '????????' .and. status == 0, 'the value of an absent option')
    name = 'interactive'
    call utl_commandlinestring(name, value, status, len(name), len(value))
    call expect(value == ' ' .and. status == 0, 'an empty value')
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
