/* First program of the machine that avx512_machine.sh boots: runs the lines of /jobs one after another, says how each
 * ended and whether all passed, and switches the machine off. A line is words, of which the leading ones with a '=' go
 * to the environment.
 *
 * Bochs 2.7 takes a gather or scatter for illegal whose indices lie in the upper sixteen of the wide registers, which
 * is a fault of its own. Programs run traced: such an instruction is stepped over with its indices moved to a lower
 * register and its bytes changed accordingly, then all is put back. */
#include <elf.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/io.h>
#include <sys/klog.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

/* The state as XSAVE lays it out: a register's quarters lie apart but for the upper sixteen's. */
static unsigned char state[4096];

static void read_register(int number, unsigned char value[64]) {
  if (number >= 16) {
    memcpy(value, state + 1664 + 64 * (number - 16), 64);
    return;
  }
  memcpy(value, state + 160 + 16 * number, 16);
  memcpy(value + 16, state + 576 + 16 * number, 16);
  memcpy(value + 32, state + 1152 + 32 * number, 32);
}

static void write_register(int number, const unsigned char value[64]) { /* one of the lower sixteen */
  memcpy(state + 160 + 16 * number, value, 16);
  memcpy(state + 576 + 16 * number, value + 16, 16);
  memcpy(state + 1152 + 32 * number, value + 32, 32);
  state[512] |= 0x46; /* these parts are not in their initial state any more */
}

static int move_state(int request, pid_t child) {
  struct iovec block = {state, sizeof state};
  return ptrace(request, child, (void*)NT_X86_XSTATE, &block) == 0;
}

/* Steps over a gather or scatter by an upper register. Returns whether it was one. */
static int step_over_gather(pid_t child) {
  struct user_regs_struct registers;
  if (ptrace(PTRACE_GETREGS, child, NULL, &registers) != 0) return 0;
  void* const at = (void*)registers.rip;
  const long original = ptrace(PTRACE_PEEKTEXT, child, at, NULL);
  unsigned char bytes[8];
  memcpy(bytes, &original, 8);
  /* The prefix with its second map, the opcode, and memory with a scaled index. */
  const int gathers = (bytes[4] & 0xFC) == 0x90 || (bytes[4] & 0xFC) == 0xA0;
  if (bytes[0] != 0x62 || (bytes[1] & 3) != 2 || !gathers || (bytes[5] & 7) != 4 || bytes[5] >= 0xC0) return 0;
  if ((bytes[3] & 8) != 0) return 0; /* a lower register */
  const int index = 16 + ((bytes[1] & 0x40) == 0 ? 8 : 0) + (bytes[6] >> 3 & 7);
  const int data = ((bytes[1] & 0x10) == 0 ? 16 : 0) + ((bytes[1] & 0x80) == 0 ? 8 : 0) + (bytes[5] >> 3 & 7);
  const int lower = data == 0 ? 1 : 0;

  unsigned char indices[64], kept[64];
  if (!move_state(PTRACE_GETREGSET, child)) return 0;
  read_register(index, indices);
  read_register(lower, kept);
  write_register(lower, indices);
  if (!move_state(PTRACE_SETREGSET, child)) return 0;
  bytes[1] |= 0x40;
  bytes[3] |= 8;
  bytes[6] = (unsigned char)((bytes[6] & 0xC7) | lower << 3);
  long changed;
  memcpy(&changed, bytes, 8);
  int status;
  if (ptrace(PTRACE_POKETEXT, child, at, (void*)changed) != 0 ||
      ptrace(PTRACE_SINGLESTEP, child, NULL, NULL) != 0 || waitpid(child, &status, 0) != child ||
      !WIFSTOPPED(status) || WSTOPSIG(status) != SIGTRAP) {
    return 0;
  }
  ptrace(PTRACE_POKETEXT, child, at, (void*)original);
  if (!move_state(PTRACE_GETREGSET, child)) return 0;
  write_register(lower, kept);
  return move_state(PTRACE_SETREGSET, child);
}

/* What the kernel said last: where a program was stopped, by its address. */
static void print_kernels_last_line(void) {
  static char log[1 << 20];
  const int length = klogctl(3, log, sizeof log - 1);
  if (length <= 0) return;
  log[length] = '\0';
  for (size_t end = strlen(log); end > 0 && log[end - 1] == '\n';) log[--end] = '\0';
  const char* line = strrchr(log, '\n');
  printf("machine: %s\n", line != NULL ? line + 1 : log);
}

static int run(char* line) {
  char* words[64];
  int count = 0;
  for (char* word = strtok(line, " "); word != NULL && count < 63; word = strtok(NULL, " ")) words[count++] = word;
  words[count] = NULL;
  int first = 0;
  while (first < count && words[first][0] != '/' && strchr(words[first], '=') != NULL) ++first;
  if (first == count) return 0;
  const pid_t child = fork();
  if (child == 0) {
    for (int i = 0; i < first; ++i) putenv(words[i]);
    ptrace(PTRACE_TRACEME, 0, NULL, NULL);
    execv(words[first], words + first);
    perror(words[first]);
    _exit(127);
  }
  int status = -1;
  unsigned long steps = 0;
  while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
    int signal = WSTOPSIG(status);
    if (signal == SIGTRAP) signal = 0; /* the new program's start */
    if (signal == SIGILL && step_over_gather(child)) {
      signal = 0;
      ++steps;
    }
    ptrace(PTRACE_CONT, child, NULL, (void*)(long)signal);
  }
  if (steps != 0) printf("machine: stepped over %lu gathers that the emulator takes for illegal\n", steps);
  if (WIFSIGNALED(status)) {
    printf("machine: %s was stopped by signal %d\n", words[first], WTERMSIG(status));
    print_kernels_last_line();
  } else {
    printf("machine: %s ended with %d\n", words[first], WEXITSTATUS(status));
  }
  return status;
}

int main(void) {
  mount("none", "/proc", "proc", 0, NULL);
  setvbuf(stdout, NULL, _IOLBF, 0);
  printf("\nmachine: begins\n");
  FILE* jobs = fopen("/jobs", "r");
  int failed = jobs == NULL;
  char line[4096];
  while (jobs != NULL && fgets(line, sizeof line, jobs) != NULL) {
    line[strcspn(line, "\n")] = '\0';
    if (run(line) != 0) failed = 1;
  }
  printf("machine: %s\n", failed ? "FAILED" : "passed");
  tcdrain(STDOUT_FILENO);
  usleep(20000); /* for the last characters that the serial line holds itself */
  iopl(3);
  for (const char* c = "Shutdown"; *c != '\0'; ++c) outb((unsigned char)*c, 0x8900); /* the emulator's own port */
  for (;;) pause();
}
