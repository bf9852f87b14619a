/* First program of the machine that avx512_machine.sh boots: runs the lines of /jobs one after another, says how each
 * ended and whether all passed, and switches the machine off. A line is words, of which the leading ones with a '=' go
 * to the environment. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/io.h>
#include <sys/klog.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

/* What the kernel said last: where a program was stopped, by its address. */
static void print_kernels_last_line(void) {
  static char log[1 << 20];
  const int length = klogctl(3, log, sizeof log - 1);
  if (length <= 0) return;
  log[length] = '\0';
  while (length > 0 && log[strlen(log) - 1] == '\n') log[strlen(log) - 1] = '\0';
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
    execv(words[first], words + first);
    perror(words[first]);
    _exit(127);
  }
  int status = -1;
  waitpid(child, &status, 0);
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
  usleep(1000); /* for the serial line to be read out */
  iopl(3);
  for (const char* c = "Shutdown"; *c != '\0'; ++c) outb((unsigned char)*c, 0x8900); /* the emulator's own port */
  for (;;) pause();
}
