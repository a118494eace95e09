! The command line of a Kestra program, for Fortran.
!
! Add this file to your project, link with the library KSTutl, and write
!
!     use kst_utl
!
! The executable's start-up code has loaded the arguments. An argument that begins with
! "-" names an option, and the argument behind it is the option's value unless that
! begins with "-" too:
!
!     prog -job beam -interactive -cpus 4
!
!     character(len=32) :: name
!     character(len=80) :: job
!     integer(c_int)    :: cpus, length, status
!
!     name = 'job'
!     call utl_commandlinestring(name, job, length, len(name), len(job))
!     ! job is 'beam' followed by blanks, length is 4
!     call utl_commandlineinteger('cpus', cpus, len('cpus'))
!     ! cpus is 4
!     call utl_commandlineismember('interactive', status, len('interactive'))
!     ! status is 0: the option is there
!
! Names are written without their "-". The first three procedures ignore blanks at both
! ends of a name, so that a variable of any length can hold it; letter case counts. The
! lengths of the character arguments come last, in the order of those arguments.
!
! All may be called from any thread.
module kst_utl
  use, intrinsic :: iso_c_binding, only: c_char, c_int
  implicit none
  private
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

end module
