/*
 * measure ROUNDS COMMAND... [-- COMMAND...]: runs the commands ROUNDS times each, with their output thrown away, and
 * prints a line per command: first quartile, median and third quartile of its CPU time in microseconds (user and
 * system), the same of its ratio to the first command within one round, and its peak resident memory in KiB.
 *
 * CPU time, because waiting for a processor is not the command's doing; ratios within one round, because the machine's
 * clock and its other load drift from round to round; and each round begins with another command, because the first
 * one finds colder caches.
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

enum { MAX_COMMANDS = 16, MAX_ROUNDS = 10000 };

struct command {
  char** words;
  double times[MAX_ROUNDS];
  double ratios[MAX_ROUNDS];
  long memory;
};

static struct command commands[MAX_COMMANDS];

static int compare(const void* a, const void* b) {
  const double x = *(const double*)a;
  const double y = *(const double*)b;
  return (x > y) - (x < y);
}

static double microseconds(struct timeval time) {
  return (double)time.tv_sec * 1e6 + (double)time.tv_usec;
}

static void run(struct command* command, int round) {
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
  command->times[round] = microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
  command->memory = usage.ru_maxrss > command->memory ? usage.ru_maxrss : command->memory;
}

static void print_quartiles(FILE* report, double* values, int count) {
  qsort(values, (size_t)count, sizeof(double), compare);
  fprintf(report, "%.3f %.3f %.3f ", values[count / 4], values[count / 2], values[count * 3 / 4]);
}

static int split_commands(int argc, char** argv) {
  int count = 0;
  for (int i = 2; i < argc && count < MAX_COMMANDS; ++i) {
    if (strcmp(argv[i], "--") == 0) {
      argv[i] = NULL;
    } else if (i == 2 || argv[i - 1] == NULL) {
      commands[count++].words = argv + i;
    }
  }
  return count;
}

int main(int argc, char** argv) {
  const int rounds = argc > 2 ? atoi(argv[1]) : 0;
  const int count = split_commands(argc, argv);
  if (rounds < 1 || rounds > MAX_ROUNDS || count == 0) {
    return 2;
  }
  FILE* report = fdopen(dup(STDOUT_FILENO), "w");
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (report == NULL || nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0 || fcntl(fileno(report), F_SETFD, FD_CLOEXEC) < 0) {
    return 1;
  }
  for (int i = 0; i < count; ++i) {
    run(&commands[i], 0);  // not measured: brings files and programs into memory
  }
  for (int round = 0; round < rounds; ++round) {
    for (int i = 0; i < count; ++i) {
      run(&commands[(round + i) % count], round);
    }
    for (int i = 0; i < count; ++i) {
      commands[i].ratios[round] = commands[i].times[round] / commands[0].times[round];
    }
  }
  for (int i = 0; i < count; ++i) {
    print_quartiles(report, commands[i].times, rounds);
    print_quartiles(report, commands[i].ratios, rounds);
    fprintf(report, "%ld\n", commands[i].memory);
  }
  return fclose(report) == 0 ? 0 : 1;
}
