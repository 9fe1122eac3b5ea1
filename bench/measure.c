/*
 * measure ROUNDS [--] COMMAND... [-- COMMAND...]: runs the commands in turn, ROUNDS times each, with their output
 * thrown away. Prints a line per command: first quartile, median and third quartile of the wall time in
 * microseconds, and the peak resident memory in KiB. Running in turn keeps what else the machine does out of the
 * ratio of two commands.
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

enum { MAX_COMMANDS = 16, MAX_ROUNDS = 10000 };

struct command {
  char** words;
  double times[MAX_ROUNDS];
  long memory;
};

static struct command commands[MAX_COMMANDS];

static double now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return (double)time.tv_sec * 1e6 + (double)time.tv_nsec / 1e3;
}

static int compare(const void* a, const void* b) {
  const double x = *(const double*)a;
  const double y = *(const double*)b;
  return (x > y) - (x < y);
}

static void run(struct command* command, int round) {
  const double start = now();
  const pid_t child = vfork();
  if (child == 0) {
    execv(command->words[0], command->words);
    _exit(127);
  }
  int status = 0;
  struct rusage usage;
  if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    fprintf(stderr, "measure: %s failed\n", command->words[0]);
    exit(1);
  }
  command->times[round] = now() - start;
  command->memory = usage.ru_maxrss > command->memory ? usage.ru_maxrss : command->memory;
}

int main(int argc, char** argv) {
  const int rounds = argc > 2 ? atoi(argv[1]) : 0;
  if (rounds < 1 || rounds > MAX_ROUNDS) {
    return 2;
  }
  int count = 0;
  for (int i = 2; i < argc && count < MAX_COMMANDS; ++i) {
    if (strcmp(argv[i], "--") == 0) {
      argv[i] = NULL;
    } else if (i == 2 || argv[i - 1] == NULL) {
      commands[count++].words = argv + i;
    }
  }
  FILE* report = fdopen(dup(STDOUT_FILENO), "w");
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (report == NULL || nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0 || fcntl(fileno(report), F_SETFD, FD_CLOEXEC) < 0) {
    return 1;
  }
  for (int i = 0; i < count; ++i) {
    run(&commands[i], 0);
  }
  for (int round = 0; round < rounds; ++round) {
    for (int i = 0; i < count; ++i) {
      run(&commands[i], round);
    }
  }
  for (int i = 0; i < count; ++i) {
    qsort(commands[i].times, (size_t)rounds, sizeof(double), compare);
    fprintf(report, "%.1f %.1f %.1f %ld\n", commands[i].times[rounds / 4], commands[i].times[rounds / 2],
            commands[i].times[rounds * 3 / 4], commands[i].memory);
  }
  return fclose(report) == 0 ? 0 : 1;
}
