// A sender or a receiver that is killed, stopped and starved by scripts/soak, and writes down what
// it did where it survives that: in files that are mapped, one bit or one number at a time.
//
// Room: tests. The development host as its users see it.
//   soak_peer send FOLDER DESTINATION MESSAGES BATCH   until MESSAGES are accepted
//   soak_peer receive FOLDER DESTINATION               until SIGTERM
// In FOLDER: <sender>.sent, a number: what was accepted; <sender>.lost, lines "first last": what
// was told to be lost; <sender>.handled, a bit for each message; <sender>.gap, lines as
// above: what a receiver was told that it misses; <process>.receiver, a line: what it counted.
#include <mesh_fib6/host/mesh_host.h>
#include <mesh_fib6/platform/mesh.h>

#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint32_t message_id = 0x5A5A0003;
constexpr uint64_t most_messages = uint64_t{1} << 27; // of one sender

std::string folder;
uint32_t destination = 0;
volatile std::sig_atomic_t asked_to_end = 0;

struct soak_record {
  uint64_t number;
  uint64_t check;
};

uint64_t check_of(uint64_t number) {
  return number * 0x9E3779B97F4A7C15 ^ 0x5A5A;
}

uint32_t unpack(const void *buffer, uint32_t length, void *record) {
  if (record != nullptr && length >= sizeof(soak_record))
    memcpy(record, buffer, sizeof(soak_record));
  return sizeof(soak_record);
}
void release(void *) {}

std::string path_of(uint64_t sender, const char *what) {
  char name[64];
  (void)snprintf(name, sizeof name, "/%016" PRIx64 ".%s", sender, what);
  return folder + name;
}

uint8_t *map_file(const std::string &path, size_t size) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0 || ftruncate(file, static_cast<off_t>(size)) != 0) {
    perror(path.c_str());
    exit(1);
  }
  void *const mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (mapped == MAP_FAILED) {
    perror(path.c_str());
    exit(1);
  }
  return static_cast<uint8_t *>(mapped);
}

void append_line(const std::string &path, const std::string &line) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (file < 0 || write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
    perror(path.c_str());
  close(file);
}

// Sending.

int send_messages(uint64_t goal, uint32_t batch) {
  std::vector<soak_record> records(batch);
  std::vector<msg_desc> messages(batch);
  uint64_t accepted = 0;
  uint64_t losses = 0;
  volatile uint64_t *sent = nullptr;
  uint64_t refused = 0;
  uint64_t unreached = 0;
  uint64_t sender = 0;
  const auto note_losses = [&] {
    mesh_host_progress progress;
    mesh_host_get_progress(destination, &progress);
    if (progress.losses == losses)
      return;
    losses = progress.losses;
    append_line(path_of(progress.sender, "lost"), std::to_string(progress.lost_first) + " " +
                                                      std::to_string(progress.lost_last) + "\n");
  };
  while (accepted < goal && asked_to_end == 0) {
    for (uint32_t i = 0; i < batch; i++) {
      records[i] = {accepted + i + 1, check_of(accepted + i + 1)};
      messages[i] = {&records[i], message_id, sizeof records[i]};
    }
    const auto result = static_cast<uint32_t>(MESH_SendMsg(destination, messages.data(), batch));
    if (result == MESH_HOST_OK) {
      accepted += batch;
      if (sent == nullptr) {
        mesh_host_progress progress;
        mesh_host_get_progress(destination, &progress);
        sender = progress.sender;
        sent = reinterpret_cast<volatile uint64_t *>(map_file(path_of(sender, "sent"), 8));
      }
      *sent = accepted;
    } else if (result == MESH_HOST_PEER_LOST) {
      note_losses();
    } else if (result == MESH_HOST_FULL) {
      refused++;
    } else {
      unreached++;
      usleep(20'000);
    }
  }
  uint32_t flushed = MESH_HOST_FULL;
  for (int i = 0; i < 600 && flushed == MESH_HOST_FULL; i++)
    if (flushed = mesh_host_flush(destination, 100); flushed == MESH_HOST_PEER_LOST)
      note_losses();
  printf("{\"sender\": \"%016" PRIx64 "\", \"accepted\": %" PRIu64 ", \"losses\": %" PRIu64
         ", \"busy\": %" PRIu64 ", \"unreached\": %" PRIu64 ", \"flushed\": %u}\n",
         sender, accepted, losses, refused, unreached, flushed);
  return 0;
}

// Receiving.

struct receiving {
  mesh_host_receiver *receiver = nullptr;
  std::map<uint64_t, uint8_t *> handled;
  uint64_t last_sender = 0;
  uint8_t *last_map = nullptr;
  uint64_t count = 0, twice = 0, wrong = 0, gaps = 0;
};

void handle(void *context, uint32_t, uint64_t, const void *record, uint32_t) {
  receiving &self = *static_cast<receiving *>(context);
  soak_record got;
  memcpy(&got, record, sizeof got);
  mesh_host_origin origin;
  mesh_host_get_origin(self.receiver, &origin);
  if (got.number != origin.number || got.check != check_of(got.number) ||
      got.number > most_messages) {
    self.wrong++;
    return;
  }
  if (origin.sender != self.last_sender) {
    uint8_t *&known = self.handled[origin.sender];
    if (known == nullptr)
      known = map_file(path_of(origin.sender, "handled"), most_messages / 8);
    self.last_sender = origin.sender;
    self.last_map = known;
  }
  uint8_t &byte = self.last_map[got.number / 8];
  const auto bit = static_cast<uint8_t>(1U << got.number % 8);
  self.twice += (byte & bit) != 0 ? 1 : 0;
  byte = static_cast<uint8_t>(byte | bit);
  self.count++;
}

int receive_messages() {
  receiving self;
  const std::string notes = folder + "/" + std::to_string(getpid()) + ".receiver";
  while (mesh_host_attach(destination, &self.receiver) != MESH_HOST_OK && asked_to_end == 0)
    usleep(50'000); // the one before may not be gone yet
  mesh_host_on_gap(
      self.receiver,
      [](void *context, const mesh_host_gap *gap) {
        static_cast<receiving *>(context)->gaps++;
        fprintf(stderr, "process %d: gap of %016" PRIx64 ": %" PRIu64 " to %" PRIu64 "\n",
                static_cast<int>(getpid()), gap->sender, gap->first, gap->last);
        // Who has had nothing of a sender yet cannot tell what others had from what nobody had.
        if (gap->first > 1)
          append_line(path_of(gap->sender, "gap"),
                      std::to_string(gap->first) + " " + std::to_string(gap->last) + "\n");
      },
      &self);
  while (asked_to_end == 0) {
    if (mesh_host_poll(self.receiver, 100, handle, &self) >= 0)
      continue;
    // The claim was lost, to nobody or to somebody: attach anew.
    mesh_host_detach(self.receiver);
    self.receiver = nullptr;
    while (mesh_host_attach(destination, &self.receiver) != MESH_HOST_OK && asked_to_end == 0)
      usleep(50'000);
  }
  mesh_host_detach(self.receiver);
  mesh_host_counters counters;
  mesh_host_get_counters(&counters);
  append_line(notes, "{\"handled\": " + std::to_string(self.count) + ", \"twice\": " +
                         std::to_string(self.twice) + ", \"wrong\": " + std::to_string(self.wrong) +
                         ", \"gaps\": " + std::to_string(self.gaps) +
                         ", \"dropped\": " + std::to_string(counters.redelivered) + "}\n");
  return 0;
}

} // namespace

int main(int count, char **words) {
  if (count < 4 || (strcmp(words[1], "send") == 0 && count != 6)) {
    fprintf(stderr, "usage: soak_peer send FOLDER DESTINATION MESSAGES BATCH\n"
                    "       soak_peer receive FOLDER DESTINATION\n");
    return 2;
  }
  folder = words[2];
  destination = static_cast<uint32_t>(strtoul(words[3], nullptr, 0));
  (void)std::signal(SIGTERM, [](int) { asked_to_end = 1; });
  MESH_RegIDLFuncHook(message_id, unpack, release);
  if (strcmp(words[1], "receive") == 0)
    return receive_messages();
  return send_messages(strtoull(words[4], nullptr, 0),
                       static_cast<uint32_t>(strtoul(words[5], nullptr, 0)));
}
