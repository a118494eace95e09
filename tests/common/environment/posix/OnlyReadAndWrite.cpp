#include "common/environment/OnlyReadAndWrite.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <vector>

bool AllowOnlyReadAndWrite() {
  // Besides reading and writing, what memory, waiting and the end of a process need; the
  // address sanitizer asks for the signals' stack at the end.
  constexpr unsigned kAllowed[] = {__NR_read,  __NR_write,       __NR_brk,
                                   __NR_mmap,  __NR_munmap,      __NR_madvise,
                                   __NR_futex, __NR_sigaltstack, __NR_exit_group};
  std::vector<sock_filter> program = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const unsigned call : kAllowed) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
  const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}
