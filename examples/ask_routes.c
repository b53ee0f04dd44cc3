/* ask_routes: asks destination 9 for its routes to an address and prints what is answered.
 *
 * Room: examples. Includes public headers, the development host's and libc's. C99 and POSIX.
 *
 * What members mean is between the two; answer_queries.c goes by this as well:
 *   query   f0.f0 where to answer, a destination from 10 to 19; f0.f1 the query's number
 *           f1.f0 what is asked: 1, the routes to the address f1.f1
 *   answer  f0.f0 the query's number; f0.f1 0, or 1: refused; f0.f2 how many routes there are, for
 *           an answer with none looks like one that was cut
 *   route   f0 its address, f1 its next hop, f5 its prefix length
 */
#define _POSIX_C_SOURCE 200809L
#include <mesh_fib6/fib6_cfg.h>
#include <mesh_fib6/host/mesh_host.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

enum { answerer = 9, first_asker = 10, last_asker = 19, timeout_s = 5, poll_ms = 200 };

struct question {
  uint32_t number;
  int answered, refused;
};

static void handle(void *context, uint32_t id, uint64_t target, const void *record, uint32_t size) {
  struct question *asked = context;
  const fib6_cfg_query_fib6_rec *answer = record;
  char address[INET6_ADDRSTRLEN], next_hop[INET6_ADDRSTRLEN];
  uint32_t i;

  (void)target;
  if (id != fib6_cfg_query_fib6_rec_ID || size != sizeof *answer || asked->answered)
    return;
  /* Anybody can send here. What is no answer to us must not end the wait for ours. */
  if (answer->f0.f0 != asked->number ||
      (answer->f1 != NULL ? answer->f1_count : 0) != answer->f0.f2) {
    fprintf(stderr, "ask_routes: an answer that is cut, or to another query\n");
    return;
  }
  asked->answered = 1;
  asked->refused = answer->f0.f1 != 0;
  if (answer->f1 == NULL && !asked->refused)
    printf("no route\n");
  for (i = 0; answer->f1 != NULL && i < answer->f1_count; i++)
    if (answer->f1[i].f5 <= 128) /* values are the peer's as well */
      printf("%s/%u via %s\n", inet_ntop(AF_INET6, answer->f1[i].f0, address, sizeof address),
             (unsigned)answer->f1[i].f5,
             inet_ntop(AF_INET6, answer->f1[i].f1, next_hop, sizeof next_hop));
    else
      fprintf(stderr, "ask_routes: a route with prefix length %u\n", answer->f1[i].f5);
}

int main(int argc, char **argv) {
  fib6_cfg_query_fib6_key query = {0};
  struct question asked = {0, 0, 0};
  mesh_host_receiver *receiver = NULL;
  struct timespec now, end;
  uint32_t result, mine = first_asker;
  int got = 0;

  if (argc != 2 || inet_pton(AF_INET6, argv[1], query.f1.f1) != 1) {
    fprintf(stderr, "usage: ask_routes ADDRESS (of IPv6)\n");
    return 2;
  }
  /* A socket must not get the number of a standard stream that is closed, and be printed to. */
  while (got <= STDERR_FILENO)
    if ((got = open("/dev/null", O_RDONLY)) < 0) {
      perror("ask_routes: /dev/null");
      return 1;
    }
  close(got);

  result = fib6_cfg_send_init(); /* we do both */
  if (result == 0)
    result = fib6_cfg_recv_init();
  /* Before we ask: an answer must find us. Others may be asking, too. */
  if (result == 0)
    while ((result = mesh_host_attach(mine, &receiver)) == MESH_HOST_DUPLICATE && mine < last_asker)
      mine++;
  if (result != 0) {
    fprintf(stderr, "ask_routes: cannot receive an answer: %s\n", mesh_host_result_text(result));
    return 1;
  }
  query.f0.f0 = mine;
  query.f0.f1 = asked.number = (uint32_t)getpid();
  query.f1.f0 = 1;
  result = fib6_cfg_query_fib6_key__sendmsg(answerer, &query, 1);
  if (result != 0) {
    fprintf(stderr, "ask_routes: cannot ask destination %d: %s\n", answerer,
            mesh_host_result_text(result));
  } else {
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += timeout_s;
    do {
      got = mesh_host_poll(receiver, poll_ms, handle, &asked);
      clock_gettime(CLOCK_MONOTONIC, &now);
    } while (got >= 0 && !asked.answered && now.tv_sec < end.tv_sec);
    if (!asked.answered)
      fprintf(stderr, "ask_routes: no answer within %d s\n", timeout_s);
    else if (asked.refused)
      fprintf(stderr, "ask_routes: destination %d refused the query\n", answerer);
  }
  mesh_host_detach(receiver);
  if (ferror(stdout) | (fclose(stdout) != 0)) {
    fprintf(stderr, "ask_routes: cannot write to standard output\n");
    return 1;
  }
  return result != 0 || !asked.answered || asked.refused;
}
