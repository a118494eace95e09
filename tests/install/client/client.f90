program client
  use, intrinsic :: iso_fortran_env, only: real64
  use kst_utl
  implicit none
  type(kst_sections) :: file
  real(real64), allocatable :: loads(:)

  call kst_start()
  call file%open('job.kdb', kst_write)
  call file%set('loads', [1.5_real64, -2.0_real64])
  call file%save()
  call file%load('loads', loads)
  call file%close()
  call kst_end()
  if (size(loads) /= 2) error stop 1
end program
