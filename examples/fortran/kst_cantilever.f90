! kst_cantilever -job NAME [-points N] [-outdir DIR]
!
! The deflection of a cantilever beam under a load at its tip, kept in the sections of
! NAME.kdb, and read back as another program would.
program kst_cantilever
  use, intrinsic :: iso_fortran_env, only: real64
  use kst_utl
  implicit none

  real(real64), parameter :: length = 2, stiffness = 4.2e6_real64, load = 1500
  real(real64), allocatable :: place(:), deflection(:)
  character(len=:), allocatable :: path
  type(kst_sections) :: file
  integer :: points, i

  call kst_start()
  call kst_open_logs()
  path = kst_job_file('.kdb')
  points = max(2, kst_option_number('points', default=5))

  call kst_begin_phase(1, 'solve')
  place = [(length * i / (points - 1), i=0, points - 1)]
  deflection = load * place**2 * (3 * length - place) / (6 * stiffness)
  call kst_end_phase(1)

  call kst_begin_phase(2, 'write')
  call file%open(path, kst_write)
  call file%set('title', 'Cantilever under a load at its tip')
  call file%set('place', place)
  call file%set('deflection', deflection)
  call file%save()
  call file%close()
  call kst_end_phase(2)

  deallocate (place, deflection)
  call file%open(path, kst_read)
  call file%load('place', place)
  call file%load('deflection', deflection)
  call file%close()
  print '(2a12)', 'place', 'deflection'
  print '(f12.3, es12.4)', (place(i), deflection(i), i=1, points)
  print '(2a)', 'Saved in ', kst_native_path(path)
  call kst_end()
end program
