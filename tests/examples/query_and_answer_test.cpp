// ask_routes and answer_queries: with each other, without, and with peers that are not honest.
//
// Room: tests. The programs are run, not linked; hostile queries and answers are sent through the
// development host's mesh, and what is expected of one is told by the decoder.
#include "host/mesh_host.h"
#include "tests/examples/example_test.h"

#include <mesh_fib6/fib6_cfg.h>

#include <arpa/inet.h>
#include <filesystem>

namespace {

constexpr uint32_t answerer = 9;
constexpr uint32_t first_asker = 10, last_asker = 19;
constexpr const char *refused_answer = "ask_routes: an answer that is cut, or to another query\n";
constexpr const char *refused_query =
    "answer_queries: a query that is cut, or is to be answered to ";

encoded_message query_for(const char *address, uint32_t asker, uint32_t number, uint32_t kind = 1) {
  fib6_cfg_query_fib6_key query{};
  query.f0.f0 = asker;
  query.f0.f1 = number;
  query.f1.f0 = kind;
  inet_pton(AF_INET6, address, query.f1.f1);
  return encoded(fib6_cfg_query_fib6_key_ID, fib6_cfg_query_fib6_key__pack, query);
}

// With the route 2001:db8::/32 via fe80::1.
encoded_message answer_to(uint32_t number, uint8_t length = 32, uint32_t refusal = 0,
                          uint32_t announced = 1) {
  fib6_cfg_query_fib6_item item{};
  inet_pton(AF_INET6, "2001:db8::", item.f0);
  inet_pton(AF_INET6, "fe80::1", item.f1);
  item.f5 = length;
  fib6_cfg_query_fib6_rec answer{};
  answer.f0.f0 = number;
  answer.f0.f1 = refusal;
  answer.f0.f2 = announced;
  answer.f1_count = 1;
  answer.f1 = &item;
  return encoded(fib6_cfg_query_fib6_rec_ID, fib6_cfg_query_fib6_rec__pack, answer);
}

// What is to be made of a message.
struct outcome {
  bool is_answer; // to the query, complete
  std::string output, errors;
  int status;
};

outcome outcome_of(const encoded_message &message, uint32_t number) {
  fib6_cfg_query_fib6_rec answer{};
  fib6_cfg_query_fib6_rec__unpack(message.bytes.data(), static_cast<uint32_t>(message.bytes.size()),
                                  &answer);
  const uint32_t count = answer.f1 != nullptr ? answer.f1_count : 0;
  outcome expected{answer.f0.f0 == number && count == answer.f0.f2, "", "", 0};
  for (uint32_t i = 0; i < count; i++) {
    char address[INET6_ADDRSTRLEN], next_hop[INET6_ADDRSTRLEN];
    const std::string length = std::to_string(answer.f1[i].f5);
    if (answer.f1[i].f5 > 128)
      expected.errors += "ask_routes: a route with prefix length " + length + "\n";
    else
      expected.output += inet_ntop(AF_INET6, answer.f1[i].f0, address, sizeof address) +
                         ("/" + length) + " via " +
                         inet_ntop(AF_INET6, answer.f1[i].f1, next_hop, sizeof next_hop) + "\n";
  }
  if (answer.f0.f1 != 0) {
    expected.errors += "ask_routes: destination 9 refused the query\n";
    expected.status = 1;
  } else if (count == 0) {
    expected.output = "no route\n";
  }
  fib6_cfg_query_fib6_rec_free__unpacked(&answer);
  return expected;
}

// What arrives at a destination of this process.
template <class Message>
class arrivals {
public:
  explicit arrivals(uint32_t destination) {
    EXPECT_EQ(mesh_host_attach(destination, &receiver), 0u);
  }
  ~arrivals() { mesh_host_detach(receiver); }
  arrivals(const arrivals &) = delete;
  arrivals &operator=(const arrivals &) = delete;

  // What has come, waiting for nothing; until there are `count`, 0 for all that is there.
  const std::vector<Message> &take(size_t count = 0) {
    int got = 1;
    for (int i = 0; i < 200 && (got > 0 || taken.size() < count); i++)
      got = mesh_host_poll(receiver, taken.size() < count ? 100 : 0, keep, this);
    osal_host_hold_log(1); // the mesh has let go of it
    EXPECT_GE(taken.size(), count);
    return taken;
  }

private:
  static void keep(void *self, uint32_t, uint64_t, const void *record, uint32_t size) {
    ASSERT_EQ(size, sizeof(Message));
    static_cast<arrivals *>(self)->taken.push_back(*static_cast<const Message *>(record));
  }

  mesh_host_receiver *receiver = nullptr;
  std::vector<Message> taken; // their pointers are gone
};
using queries = arrivals<fib6_cfg_query_fib6_key>;
using answers_taken = arrivals<fib6_cfg_query_fib6_rec>;

class QueryAndAnswer : public ExampleTest {
protected:
  void check_answered(const std::string &address, const std::string &routes) const {
    program_run asking(example("ask_routes", {address}));
    EXPECT_EQ(asking.status(), 0);
    EXPECT_EQ(asking.output(), routes);
    EXPECT_EQ(asking.errors(), "");
  }

  // This process answers; a query's number and destination are the program's choice.
  void receive_queries() const {
    join_mesh();
    ASSERT_EQ(fib6_cfg_recv_init(), 0u);
  }
};

TEST_F(QueryAndAnswer, AQueryIsAnsweredWithTheRoutesToTheAddress) {
  program_run answering(example("answer_queries", {}));
  check_answered("2001:db8:1:8000::1", "2001:db8::/32 via fe80::1\n"
                                       "2001:db8:1::/48 via fe80::2\n"
                                       "2001:db8:1:8000::/49 via fe80::3\n");
  check_answered("2001:db8:1:7fff::1", "2001:db8::/32 via fe80::1\n"
                                       "2001:db8:1::/48 via fe80::2\n");
  check_answered("fdff::", "fd00::/8 via fe80::1\n");
  check_answered("fe00::", "no route\n");
  check_stops(answering);
  EXPECT_EQ(answering.output(), "");
  EXPECT_EQ(answering.errors(), "");
}

TEST_F(QueryAndAnswer, TheAnswererEndsWellWhenItIsInterrupted) {
  for (const int how : {SIGINT, SIGTERM}) {
    program_run answering(example("answer_queries", {}));
    wait_for_receiver(answerer);
    check_stops(answering, how);
    EXPECT_EQ(answering.errors(), "");
    EXPECT_FALSE(std::filesystem::exists(socket(answerer))); // it has detached
  }
}

TEST_F(QueryAndAnswer, TheAskerEndsAtOnceWhenItIsInterrupted) {
  receive_queries();
  queries asked(answerer);
  program_run asking(example("ask_routes", {"::"}));
  asked.take(1);
  ASSERT_EQ(kill(asking.pid(), SIGTERM), 0);
  EXPECT_EQ(asking.status(), 256 + SIGTERM);
}

TEST_F(QueryAndAnswer, TheAskerSaysThatNobodyAnswers) {
  program_run::settings how = example("ask_routes", {"::"});
  how.variables.back() = "MESH_HOST_SEND_TIMEOUT_MS=300";
  program_run nobody(how);
  EXPECT_EQ(nobody.status(), 1);
  EXPECT_TRUE(holds(nobody.errors(), "ask_routes: cannot ask destination 9: nobody received for "
                                     "this destination within the time-out\n"));

  receive_queries();
  queries asked(answerer); // and leaves it at that
  program_run asking(example("ask_routes", {"::"}));
  asked.take(1);
  EXPECT_EQ(asking.status(40), 1);
  EXPECT_EQ(asking.output(), "");
  EXPECT_EQ(asking.errors(), "ask_routes: no answer within 5 s\n");
}

TEST_F(QueryAndAnswer, TheAskerSaysThatItsQueryWasRefused) {
  receive_queries();
  queries asked(answerer);
  program_run asking(example("ask_routes", {"::"}));
  const fib6_cfg_query_fib6_key query = asked.take(1).front();
  send_message(query.f0.f0, answer_to(query.f0.f1, 32, 1));
  EXPECT_EQ(asking.status(), 1);
  EXPECT_EQ(asking.errors(), "ask_routes: destination 9 refused the query\n");
}

TEST_F(QueryAndAnswer, TheAskerDoesNotPrintAPrefixLengthThatIsNone) {
  receive_queries();
  queries asked(answerer);
  program_run asking(example("ask_routes", {"::"}));
  const fib6_cfg_query_fib6_key query = asked.take(1).front();
  send_message(query.f0.f0, answer_to(query.f0.f1, 129));
  EXPECT_EQ(asking.status(), 0);
  EXPECT_EQ(asking.output(), "");
  EXPECT_EQ(asking.errors(), "ask_routes: a route with prefix length 129\n");
}

TEST_F(QueryAndAnswer, WhoAsksAtTheSameTimeIsAnsweredElsewhere) {
  receive_queries();
  queries asked(answerer);
  program_run first(example("ask_routes", {"::"}));
  wait_for_receiver(first_asker);
  program_run second(example("ask_routes", {"::"}));
  for (const fib6_cfg_query_fib6_key &query : asked.take(2)) {
    EXPECT_EQ(query.f0.f1,
              static_cast<uint32_t>(query.f0.f0 == first_asker ? first.pid() : second.pid()));
    send_message(query.f0.f0, answer_to(query.f0.f1));
  }
  for (program_run *asking : {&first, &second}) {
    EXPECT_EQ(asking->status(), 0) << asking->errors();
    EXPECT_EQ(asking->output(), "2001:db8::/32 via fe80::1\n");
  }
}

TEST_F(QueryAndAnswer, TheAskerSaysThatAllPlacesForAnswersAreTaken) {
  join_mesh();
  std::vector<std::unique_ptr<answers_taken>> all;
  for (uint32_t destination = first_asker; destination <= last_asker; destination++)
    all.push_back(std::make_unique<answers_taken>(destination));
  program_run asking(example("ask_routes", {"::"}));
  EXPECT_EQ(asking.status(), 1);
  EXPECT_TRUE(holds(asking.errors(), "ask_routes: cannot receive an answer: the identifier or the "
                                     "destination is taken\n"));
}

TEST_F(QueryAndAnswer, ASecondAnswererIsRefused) {
  program_run first(example("answer_queries", {}));
  wait_for_receiver(answerer);
  program_run second(example("answer_queries", {}));
  EXPECT_EQ(second.status(), 1);
  EXPECT_TRUE(holds(second.errors(), "answer_queries: cannot receive as destination 9: "));
  check_stops(first);
}

TEST_F(QueryAndAnswer, TheAskerFailsWhenItsOutputCannotBeWritten) {
  program_run answering(example("answer_queries", {}));
  for (const char *redirection : {">&-", ">/dev/full", "<&- >&-"}) {
    SCOPED_TRACE(redirection);
    program_run asking(redirected("ask_routes", redirection, {"fd00::"}));
    EXPECT_EQ(asking.status(), 1);
    EXPECT_EQ(asking.errors(), "ask_routes: cannot write to standard output\n");
  }
}

TEST_F(QueryAndAnswer, NothingOfTheMeshTakesThePlaceOfAClosedStandardStream) {
  program_run answering(redirected("answer_queries", "<&- >&- 2>&-", {}));
  wait_for_receiver(answerer);
  for (const char *stream : {"0", "1", "2"})
    EXPECT_EQ(
        std::filesystem::read_symlink("/proc/" + std::to_string(answering.pid()) + "/fd/" + stream),
        "/dev/null");
  check_answered("fd00::", "fd00::/8 via fe80::1\n");
  check_stops(answering);
}

TEST_F(QueryAndAnswer, BothFailWhereTheMeshTakesNoRegistrationOrCannotBeUsed) {
  for (const auto &[name, arguments] :
       {std::pair<std::string, std::vector<std::string>>{"ask_routes", {"::"}},
        {"answer_queries", {}}}) {
    const std::string complaint = name + ": cannot receive ";
    program_run refused(preloaded(REFUSING_MESH, name, arguments));
    EXPECT_EQ(refused.status(), 1);
    EXPECT_TRUE(holds(refused.errors(), complaint));
    EXPECT_FALSE(std::filesystem::exists(mesh())); // it did not go on
    program_run::settings how = example(name, arguments);
    how.variables = {"MESH_HOST_DIR=" + mine() + "/no/mesh"};
    program_run without(how);
    EXPECT_EQ(without.status(), 1);
    EXPECT_TRUE(holds(without.errors(), complaint));
  }
}

TEST_F(QueryAndAnswer, BothRefuseWrongUsageWithStatus2) {
  for (const std::vector<std::string> &arguments :
       {std::vector<std::string>{}, {"--help"}, {"2001:db8::/32"}, {"192.0.2.1"}, {"::", "::"}}) {
    program_run run(example("ask_routes", arguments));
    EXPECT_EQ(run.status(), 2);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(), "usage: ask_routes ADDRESS (of IPv6)\n");
  }
  program_run run(example("answer_queries", {"--help"}));
  EXPECT_EQ(run.status(), 2);
  EXPECT_EQ(run.errors(), "usage: answer_queries\n");
}

TEST_F(QueryAndAnswer, TheAnswererRefusesWhatMakesNoSense) {
  program_run answering(example("answer_queries", {}));
  receive_queries();
  answers_taken answered(first_asker);
  for (const uint32_t asker : {0u, 9u, 20u, 0xFFFFFFFFu}) // the answerer itself among them
    send_message(answerer, query_for("fd00::", asker, 1));
  send_message(answerer, query_for("fd00::", first_asker, 2, 7));
  send_message(answerer, query_for("fd00::", first_asker, 3));
  const std::vector<fib6_cfg_query_fib6_rec> &taken = answered.take(2);
  ASSERT_EQ(taken.size(), 2u);
  EXPECT_EQ(taken[0].f0.f0, 2u); // another kind of query
  EXPECT_EQ(taken[0].f0.f1, 1u);
  EXPECT_EQ(taken[0].f1_count, 0u);
  EXPECT_EQ(taken[1].f0.f0, 3u);
  EXPECT_EQ(taken[1].f0.f1, 0u);
  EXPECT_EQ(taken[1].f0.f2, 1u);
  EXPECT_EQ(taken[1].f1_count, 1u);
  check_stops(answering);
  std::string complaints;
  for (const char *asker : {"0", "9", "20", "4294967295"})
    complaints += refused_query + ("destination " + std::string(asker)) + "\n";
  EXPECT_EQ(answering.errors(), complaints);
}

TEST_F(QueryAndAnswer, TheAnswererGoesOnWhenItsAnswerIsNotTaken) {
  program_run::settings how = example("answer_queries", {});
  how.variables.pop_back(); // the time-out is the program's choice
  program_run answering(how);
  join_mesh();
  send_message(answerer, query_for("fd00::", last_asker, 1));
  check_answered("fdff::", "fd00::/8 via fe80::1\n");
  check_stops(answering);
  EXPECT_TRUE(holds(answering.errors(), "answer_queries: cannot answer to destination 19: nobody "
                                        "received for this destination within the time-out\n"));
  EXPECT_TRUE(holds(answering.errors(), "for 500 ms"));
}

TEST_F(QueryAndAnswer, TheAnswererSurvivesHostileQueries) {
  program_run::settings how = example("answer_queries", {});
  how.variables.back() = "MESH_HOST_SEND_TIMEOUT_MS=300"; // for those who want it elsewhere
  program_run answering(how);
  receive_queries();
  auto answered = std::make_unique<answers_taken>(first_asker);
  unsigned refused = 0, taken = 0;
  for (const encoded_message &message : hostile(query_for("fd00::", first_asker, 1))) {
    send_message(answerer, message);
    fib6_cfg_query_fib6_key query{};
    fib6_cfg_query_fib6_key__unpack(message.bytes.data(),
                                    static_cast<uint32_t>(message.bytes.size()), &query);
    const bool to_somebody = query.f0.f0 >= first_asker && query.f0.f0 <= last_asker;
    refused += to_somebody ? 0 : 1;
    taken += query.f0.f0 == first_asker ? 1 : 0;
    fib6_cfg_query_fib6_key_free__unpacked(&query);
    answered->take();
  }
  ASSERT_EQ(mesh_host_flush(answerer, 60'000), 0u) << answering.errors();
  EXPECT_EQ(answered->take(taken).size(), taken);
  answered.reset();
  EXPECT_GT(refused, 300u);
  EXPECT_GT(taken, 300u);
  check_answered("fd00::", "fd00::/8 via fe80::1\n");
  check_stops(answering);
  EXPECT_EQ(times(answering.errors(), refused_query), refused);
}

TEST_F(QueryAndAnswer, TheAskerWaitsThroughHostileAnswersForAGoodOne) {
  receive_queries();
  queries asked(answerer);
  program_run asking(example("ask_routes", {"::"}));
  const fib6_cfg_query_fib6_key query = asked.take(1).front();
  unsigned refused = 0;
  for (const encoded_message &message : hostile(answer_to(query.f0.f1)))
    if (!outcome_of(message, query.f0.f1).is_answer) {
      send_message(query.f0.f0, message);
      refused++;
    }
  send_message(query.f0.f0, answer_to(query.f0.f1, 32, 0, 2)); // one is missing
  send_message(query.f0.f0, answer_to(query.f0.f1 + 1));
  encoded_message other = query_for("::", first_asker, query.f0.f1);
  send_message(query.f0.f0, other); // none at all
  send_message(query.f0.f0, answer_to(query.f0.f1));
  EXPECT_EQ(asking.status(), 0) << asking.errors();
  EXPECT_EQ(asking.output(), "2001:db8::/32 via fe80::1\n");
  EXPECT_GT(refused, 300u);
  EXPECT_EQ(times(asking.errors(), refused_answer), refused + 2);
}

// It announces none, and a count stays where there are no routes any more.
TEST_F(QueryAndAnswer, TheAskerGoesByThePointerAndNotByTheCount) {
  receive_queries();
  queries asked(answerer);
  program_run asking(example("ask_routes", {"::"}));
  const fib6_cfg_query_fib6_key query = asked.take(1).front();
  encoded_message message = answer_to(query.f0.f1, 32, 0, 0);
  message.bytes.resize(message.bytes.size() - 1);
  fib6_cfg_query_fib6_rec answer{};
  fib6_cfg_query_fib6_rec__unpack(message.bytes.data(), static_cast<uint32_t>(message.bytes.size()),
                                  &answer);
  ASSERT_EQ(answer.f1, nullptr);
  ASSERT_EQ(answer.f1_count, 1u);
  send_message(query.f0.f0, message);
  EXPECT_EQ(asking.status(), 0);
  EXPECT_EQ(asking.output(), "no route\n");
  EXPECT_EQ(asking.errors(), "");
}

TEST_F(QueryAndAnswer, TheAskerPrintsWhatADamagedAnswerHolds) {
  receive_queries();
  queries asked(answerer);
  size_t runs = 0;
  while (runs < 12) {
    program_run asking(example("ask_routes", {"::"}));
    const fib6_cfg_query_fib6_key query = asked.take(runs + 1).back();
    std::vector<encoded_message> some;
    for (encoded_message &message : flipped(answer_to(query.f0.f1)))
      if (outcome_of(message, query.f0.f1).is_answer)
        some.push_back(std::move(message));
    ASSERT_GT(some.size(), 120u);
    const encoded_message &message = some[some.size() / 12 * runs++]; // another each time
    send_message(query.f0.f0, message);
    const outcome expected = outcome_of(message, query.f0.f1);
    EXPECT_EQ(asking.status(), expected.status);
    EXPECT_EQ(asking.output(), expected.output);
    EXPECT_EQ(asking.errors(), expected.errors);
  }
}

} // namespace
