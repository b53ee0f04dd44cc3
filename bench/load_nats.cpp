// A plain program on the NATS client, as one writes it who knows it: asynchronous publishing with a
// bound on what is unanswered, a stream that drops what is acknowledged, explicit acknowledgements.
// What the development host's nats way is measured beside.
//
// Room: bench. The library's functions, the NATS client library (https://nats.io).
//   load_nats send BOARD TABLE URL FIRST RECEIVERS ROUTES BATCH
//   load_nats receive BOARD URL FIRST NUMBER memory|file push|pull
// FIRST is the number of the first receiver's stream. A batch is one message of the server's, as on
// the development host. There are no identifiers of messages, no numbers that a receiver would look
// at, and nothing that is published again: those are the development host's own.
#include "bench/load.h"

#include <cstdio>
#include <cstring>
#include <nats/nats.h>
#include <thread>
#include <unistd.h>

using namespace bench;

namespace {

constexpr int64_t most_unanswered = 512; // 128 are slower, 2,048 gain nothing
constexpr int fetched_at_once = 256;

std::string stream_of(uint32_t number) {
  return "LOAD_" + std::to_string(number);
}
std::string subject_of(uint32_t number) {
  return "load." + std::to_string(number);
}

void need(natsStatus status, const char *what) {
  if (status != NATS_OK)
    fail("%s: %s (%s)", what, natsStatus_GetText(status), nats_GetLastError(nullptr));
}

natsConnection *connect_to(const char *url) {
  natsConnection *made = nullptr;
  need(natsConnection_ConnectTo(&made, url), url);
  return made;
}

int send_messages(char **words) {
  board &shared = open_board(words[0]);
  const uint32_t first = parse_number(words[3], "FIRST", 1, 1'000'000);
  const uint32_t receivers = parse_number(words[4], "RECEIVERS", 1, most_receivers);
  workload work(words[1], words[5], words[6]);
  wait_until_ready(shared, receivers);
  natsConnection *connection = connect_to(words[2]);
  jsOptions options;
  jsOptions_Init(&options);
  options.PublishAsync.MaxPending = most_unanswered;
  options.PublishAsync.StallWait = 20'000;
  options.PublishAsync.ErrHandler = [](jsCtx *, jsPubAckErr *refused, void *) {
    fail("not stored: %s",
         refused->ErrText != nullptr ? refused->ErrText : natsStatus_GetText(refused->Err));
  };
  jsCtx *context = nullptr;
  need(natsConnection_JetStream(&context, connection, &options), "JetStream");
  std::vector<std::string> subjects;
  for (uint32_t i = 0; i < receivers; i++)
    subjects.push_back(subject_of(first + i));
  std::vector<uint8_t> packed(2 * most_batch_bytes);
  serve_rounds(shared, receivers, work, [&](uint32_t to, std::span<const route_message> messages) {
    const size_t size = pack_framed(messages, packed);
    need(js_PublishAsync(context, subjects[to].c_str(), packed.data(), static_cast<int>(size),
                         nullptr),
         "publishing");
  });
  jsCtx_Destroy(context);
  natsConnection_Destroy(connection);
  return 0;
}

void take(tally &counted, natsMsg *message) {
  const auto *at = reinterpret_cast<const uint8_t *>(natsMsg_GetData(message));
  each_framed(
      at, static_cast<size_t>(natsMsg_GetDataLength(message)),
      [&](const uint8_t *packed, uint32_t length) { take_packed(counted, packed, length); });
  natsMsg_Ack(message, nullptr);
  natsMsg_Destroy(message);
}

void receive_pushed(jsCtx *context, const std::string &stream, const std::string &subject,
                    board_slot &slot, tally &counted) {
  jsSubOptions options;
  jsSubOptions_Init(&options);
  options.Stream = stream.c_str();
  options.ManualAck = true;
  options.Config.AckPolicy = js_AckExplicit;
  options.Config.MaxAckPending = 1 << 20;
  natsSubscription *subscription = nullptr;
  jsErrCode error = jsErrCode(0);
  need(js_Subscribe(
           &subscription, context, subject.c_str(),
           [](natsConnection *, natsSubscription *, natsMsg *message, void *closure) {
             take(*static_cast<tally *>(closure), message);
           },
           &counted, nullptr, &options, &error),
       "subscribing");
  natsSubscription_SetPendingLimits(subscription, -1, -1);
  slot.ready = 1;
  while (!end_asked())
    usleep(20'000);
  natsSubscription_Unsubscribe(subscription);
  natsSubscription_Destroy(subscription);
}

[[noreturn]] void receive_pulled(jsCtx *context, const std::string &stream,
                                 const std::string &subject, board_slot &slot, tally &counted) {
  jsSubOptions options;
  jsSubOptions_Init(&options);
  options.Stream = stream.c_str();
  options.Config.MaxAckPending = 1 << 20;
  natsSubscription *subscription = nullptr;
  jsErrCode error = jsErrCode(0);
  need(js_PullSubscribe(&subscription, context, subject.c_str(), "puller", nullptr, &options,
                        &error),
       "subscribing");
  slot.ready = 1;
  // On a thread of its own that the end of the process ends. A fetch that times out while messages
  // are on their way spoils the heap (client library 3.4.1), so none does while others have their
  // turn.
  std::thread([&counted, subscription] {
    for (;;) {
      natsMsgList fetched{};
      need(natsSubscription_Fetch(&fetched, subscription, fetched_at_once, 300'000, nullptr),
           "fetching");
      for (int i = 0; i < fetched.Count; i++) {
        take(counted, fetched.Msgs[i]);
        fetched.Msgs[i] = nullptr;
      }
      natsMsgList_Destroy(&fetched);
    }
  }).detach();
  while (!end_asked())
    usleep(20'000);
  _exit(0);
}

int receive_messages(char **words) {
  const uint32_t first = parse_number(words[2], "FIRST", 1, 1'000'000);
  const uint32_t number = parse_number(words[3], "NUMBER", 1, most_receivers);
  board_slot &slot = open_board(words[0]).slots[number - 1];
  natsConnection *connection = connect_to(words[1]);
  jsCtx *context = nullptr;
  need(natsConnection_JetStream(&context, connection, nullptr), "JetStream");
  const std::string stream = stream_of(first + number - 1);
  const std::string subject = subject_of(first + number - 1);
  const char *subjects[] = {subject.c_str()};
  jsStreamConfig wanted;
  jsStreamConfig_Init(&wanted);
  wanted.Name = stream.c_str();
  wanted.Subjects = subjects;
  wanted.SubjectsLen = 1;
  wanted.Retention = js_WorkQueuePolicy;
  wanted.Storage = strcmp(words[4], "file") == 0 ? js_FileStorage : js_MemoryStorage;
  jsErrCode error = jsErrCode(0);
  need(js_AddStream(nullptr, context, &wanted, nullptr, &error), "making the stream");
  tally counted(slot);
  if (strcmp(words[5], "push") == 0)
    receive_pushed(context, stream, subject, slot, counted);
  else
    receive_pulled(context, stream, subject, slot, counted);
  js_DeleteStream(context, stream.c_str(), nullptr, &error);
  jsCtx_Destroy(context);
  natsConnection_Destroy(connection);
  return 0;
}

} // namespace

int main(int count, char **words) {
  begin_process();
  const std::string role = count > 1 ? words[1] : "";
  if (role == "send" && count == 9)
    return send_messages(words + 2);
  if (role == "receive" && count == 8)
    return receive_messages(words + 2);
  (void)fprintf(stderr, "usage: load_nats send BOARD TABLE URL FIRST RECEIVERS ROUTES BATCH\n"
                        "       load_nats receive BOARD URL FIRST NUMBER memory|file push|pull\n");
  return 2;
}
