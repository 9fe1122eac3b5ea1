/*
 * floor ROOT BYTES: the work that no program which lists ports can avoid, and nothing else. Lists the interfaces;
 * per port reads the link, four bytes of configuration space and the MAC address, per virtual interface the link and
 * the MAC address; writes as many bytes as the table has.
 */
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static char output[1 << 20];

static void visit(const char* root, const char* name) {
  char path[4096];
  char buffer[512];
  snprintf(path, sizeof path, "%s/sys/class/net/%s", root, name);
  const ssize_t length = readlink(path, buffer, sizeof buffer - 1);
  if (length < 0) {
    exit(1);
  }
  buffer[length] = '\0';
  if (strstr(buffer, "/devices/virtual/") == NULL) {
    snprintf(path, sizeof path, "%s/sys/class/net/%s/device/config", root, name);
    const int config = open(path, O_RDONLY);
    if (config < 0 || pread(config, buffer, 4, 0) != 4) {
      exit(1);
    }
    close(config);
  }
  snprintf(path, sizeof path, "%s/sys/class/net/%s/address", root, name);
  const int address = open(path, O_RDONLY);
  if (address < 0 || read(address, buffer, sizeof buffer) <= 0) {
    exit(1);
  }
  close(address);
}

int main(int argc, char** argv) {
  if (argc != 3) {
    return 2;
  }
  char path[4096];
  snprintf(path, sizeof path, "%s/sys/class/net", argv[1]);
  DIR* directory = opendir(path);
  if (directory == NULL) {
    return 1;
  }
  for (struct dirent* entry = readdir(directory); entry != NULL; entry = readdir(directory)) {
    if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0 && strcmp(entry->d_name, "lo") != 0) {
      visit(argv[1], entry->d_name);
    }
  }
  closedir(directory);
  size_t size = strtoul(argv[2], NULL, 10);
  size = size < sizeof output ? size : sizeof output;
  memset(output, 'x', size);
  return write(STDOUT_FILENO, output, size) == (ssize_t)size ? 0 : 1;
}
