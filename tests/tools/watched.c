/* A process for the tap to watch, that does what processes do.
 *
 * Room: tests. Plain C99 and POSIX: the mesh, threads, descriptors.
 *
 * usage: watched send COUNT            sends so many messages
 *        watched threads COUNT         four threads do, at once
 *        watched close FILE            sends, closes every descriptor, writes "mine" into FILE,
 * sends again watched fork                  sends, and so does a child
 */
#define _POSIX_C_SOURCE 200809L
#include "platform/mesh.h"

#include <fcntl.h>
#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

/* feiBrokerFib6_pidStateMsg, all zero */
static const uint8_t message[20] = {0x08, 0, 0, 0, 0x04, 0, 0x04, 0, 0x04};

static void *send_some(void *count) {
  for (long i = 0; i < *(long *)count; i++) {
    const msg_desc one = {message, 0x2DAF16C2, sizeof message};
    MESH_SendMsg(7, &one, 1);
  }
  return NULL;
}

static void send_count(long count) {
  const struct timespec pause = {0, 200000000};
  send_some(&count);
  nanosleep(&pause, NULL); /* the tap writes every 20 ms */
}

int main(int argc, char **argv) {
  long count = argc > 2 ? strtol(argv[2], NULL, 10) : 1;
  if (argc > 2 && strcmp(argv[1], "send") == 0) {
    send_count(count);
  } else if (argc > 2 && strcmp(argv[1], "threads") == 0) {
    pthread_t threads[4];
    for (int i = 0; i < 4; i++)
      pthread_create(&threads[i], NULL, send_some, &count);
    for (int i = 0; i < 4; i++)
      pthread_join(threads[i], NULL);
  } else if (argc > 2 && strcmp(argv[1], "close") == 0) {
    send_count(1);
    for (int file = 3; file < 1000; file++)
      close(file);
    for (int i = 0; i < 40; i++) /* one of them has the number that somebody else may mean */
      if (write(open(argv[2], O_WRONLY | O_CREAT | O_APPEND, 0600), "mine\n", 5) != 5)
        return 1;
    send_count(2);
  } else if (argc > 1 && strcmp(argv[1], "fork") == 0) {
    send_count(1);
    const pid_t child = fork();
    send_count(child == 0 ? 2 : 1);
    if (child > 0 && waitpid(child, NULL, 0) != child)
      return 1;
  } else {
    return 2;
  }
  return 0;
}
