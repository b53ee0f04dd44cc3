// fib6-service and fib6-peer as their users run them, on both ways of the development host, and
// what becomes of the peer's table when either of them, or the server between them, is killed,
// stopped, kept from sending, or lied to.
//
// Room: tests. Includes how the demo's tests run programs, and NATS servers of the host's tests.
#include "demo/services/agreement.h"
#include "demo/table_text.h"
#include "host/status_file.h"
#include "platform/mesh.h"
#include "tests/demo/hostile_messages.h"
#include "tests/demo/program_run.h"
#include "tests/host/nats_server.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr uint32_t service_destination = 9, peer_destination = 10;

// Long enough for an emulated processor on a busy machine.
constexpr auto patience = 60s;

template <class Condition>
bool comes_to_pass(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end)
      return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

// A program that reads lines of this test.
class conversation {
public:
  conversation(const std::string &pipe, program_run::settings how) {
    EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0) << pipe;
    // Both ways, so that neither end waits for the other; and no end of file.
    descriptor = open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    how.input = pipe;
    program = std::make_unique<program_run>(how);
  }
  ~conversation() {
    program.reset();
    close(descriptor);
  }
  conversation(const conversation &) = delete;
  conversation &operator=(const conversation &) = delete;

  program_run *operator->() { return program.get(); }

  void tell(const std::string &lines) const {
    const std::string text = lines + "\n";
    EXPECT_EQ(write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  // The line that it answers with.
  std::string answer_to(const std::string &line, const std::string &beginning) {
    const size_t before = program->output().size();
    tell(line);
    std::string found;
    const bool came = comes_to_pass([&] {
      std::istringstream lines(program->output().substr(before));
      // Only whole lines: of one that is being written the end is missing.
      while (std::getline(lines, found) && !lines.eof())
        if (found.starts_with(beginning))
          return true;
      return false;
    });
    EXPECT_TRUE(came) << "no " << beginning << " in\n" << program->output() << program->errors();
    return found;
  }

  // "digest D, change N, R routes".
  std::string digest() { return answer_to("digest", "digest "); }

  // How often its output has this.
  unsigned said(const std::string &text) const {
    unsigned count = 0;
    const std::string all = program->output();
    for (size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
      count++;
    return count;
  }
  void wait_until_said(const std::string &text, unsigned times = 1) {
    EXPECT_TRUE(comes_to_pass([&] { return said(text) >= times; }))
        << "not " << times << " times " << text << " in\n"
        << program->output() << program->errors();
  }

  // Ends it; what it says of itself at the end.
  std::string end() {
    tell("quit");
    EXPECT_EQ(program->status(60), 0) << program->errors();
    const std::string all = program->output();
    const size_t at = all.find("ended: ");
    EXPECT_NE(at, std::string::npos) << all;
    return at == std::string::npos ? "" : all.substr(at);
  }

  void kill_at_once() {
    kill(program->pid(), SIGKILL);
    EXPECT_EQ(program->status(60), 256 + SIGKILL);
  }
  void stop() const { kill(program->pid(), SIGSTOP); }
  void go_on() const { kill(program->pid(), SIGCONT); }

private:
  int descriptor = -1;
  std::unique_ptr<program_run> program;
};

// The number in front of `what`: "7" of "..., 7 gaps, ...".
uint64_t number_of(const std::string &text, const std::string &what) {
  const size_t end = text.find(" " + what);
  EXPECT_NE(end, std::string::npos) << what << " looked for in: " << text;
  if (end == std::string::npos)
    return 0;
  const size_t begin = text.rfind(' ', end - 1) + 1;
  std::string digits = text.substr(begin, end - begin);
  std::erase(digits, ',');
  return std::stoull(digits);
}

class ServiceTest : public program_test {
protected:
  ServiceTest() { setenv("MESH_HOST_DIR", (mine() + "/mesh").c_str(), 1); }

  // All destinations are at these servers from now on.
  void place(const std::string &servers, const std::string &options) const {
    const std::string configuration = mine() + "/mesh.conf";
    std::ofstream(configuration) << "destination * " << servers << " " << options << "\n";
    setenv("MESH_HOST_CONFIG", configuration.c_str(), 1);
  }

  std::unique_ptr<conversation> service(const std::string &table,
                                        std::vector<std::string> arguments = {},
                                        std::vector<std::string> variables = {}) {
    arguments.insert(arguments.begin(), {program("fib6-service"), table});
    return start(std::move(arguments), std::move(variables));
  }
  std::unique_ptr<conversation> peer(unsigned number = 1, std::vector<std::string> variables = {},
                                     const std::string &patience_ms = "500") {
    return start({program("fib6-peer"), "--check-ms", "200", "--patience-ms", patience_ms,
                  "--number", std::to_string(number)},
                 std::move(variables));
  }

  std::string table_of(unsigned count) { return write_table(prefixes(count)); }

  // Until the peer's table is the service's, as both say. The service's digest line then.
  static std::string wait_until_equal(conversation &service, conversation &peer) {
    std::string owned, kept;
    EXPECT_TRUE(comes_to_pass([&] { return (owned = service.digest()) == (kept = peer.digest()); }))
        << "service: " << owned << "\npeer: " << kept << "\n"
        << peer->output() << peer->errors();
    return owned;
  }

  // What a program's table is as text.
  std::string table_text(conversation &program, const std::string &name) {
    const std::string path = mine() + "/" + name;
    program.answer_to("write " + path, "written to ");
    return read_text(path);
  }

  // What the mesh has counted of what it sent to this destination.
  static mesh_host_status_row sent_by(conversation &program, uint32_t destination) {
    std::ifstream file(std::string(getenv("MESH_HOST_DIR")) + "/" + std::to_string(program->pid()) +
                           ".status",
                       std::ios::binary);
    mesh_host_status_head head{};
    file.read(reinterpret_cast<char *>(&head), sizeof head);
    for (uint32_t i = 0; i < head.rows; i++) {
      mesh_host_status_row row{};
      if (file.read(reinterpret_cast<char *>(&row), sizeof row) && row.role == MESH_HOST_SENDS &&
          row.destination == destination)
        return row;
    }
    return {};
  }
  static void wait_until_busy(conversation &service) {
    EXPECT_TRUE(comes_to_pass([&] { return sent_by(service, peer_destination).refused > 0; }));
  }
  // All that the service has to say has left it.
  static void wait_until_sent(conversation &service, uint64_t messages) {
    EXPECT_TRUE(
        comes_to_pass([&] { return sent_by(service, peer_destination).accepted >= messages; }));
  }

  static uint64_t epoch_of(conversation &service) {
    service.wait_until_said("epoch ");
    const std::string all = service->output();
    return std::stoull(all.substr(all.find("epoch ") + 6), nullptr, 16);
  }

private:
  std::unique_ptr<conversation> start(std::vector<std::string> arguments,
                                      std::vector<std::string> variables) {
    return std::make_unique<conversation>(
        mine() + "/lines." + std::to_string(next_pipe++),
        program_run::settings{std::move(arguments), "", work(), std::move(variables)});
  }

  unsigned next_pipe = 0;
};

enum class way { local, nats };

// On each of the ways.
class Services : public ServiceTest, public testing::WithParamInterface<way> {
protected:
  // A server that keeps little has little room for a peer that takes nothing.
  void SetUp() override { begin(""); }
  void begin(const std::string &options) {
    if (GetParam() == way::local)
      return;
    ASSERT_TRUE(nats_server::is_installed()) << "Debian's package nats-server has it";
    if (server == nullptr) {
      server = std::make_unique<nats_server>(mine() + "/nats");
      server->start();
    }
    place(server->url(), options);
  }
  void TearDown() override {
    server.reset();
    ServiceTest::TearDown();
  }

  std::unique_ptr<nats_server> server;
};

INSTANTIATE_TEST_SUITE_P(, Services, testing::Values(way::local, way::nats), [](const auto &each) {
  return each.param == way::local ? "Local" : "Nats";
});

// What has nothing to do with the way.
class Service : public ServiceTest {};

std::string added(unsigned first, unsigned count) {
  std::ostringstream text;
  for (unsigned i = first; i < first + count; i++)
    text << (i == first ? "" : "\n") << "+ 2001:db8:f000:" << std::hex << i << std::dec
         << "::/64 via fe80::" << std::hex << 1 + i % 5 << std::dec << " dev eth" << i % 3;
  return text.str();
}

TEST_P(Services, GiveAPeerTheWholeTableWhenItComes) {
  auto owner = service(table_of(1000));
  auto kept = peer();
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", change 0, 1,000 routes"));
  const std::string text = table_text(*owner, "owned");
  EXPECT_TRUE(holds(text, "route vrf 0 2001:db8:3e7::/48 : unicast"));
  EXPECT_EQ(table_text(*kept, "kept"), text);
  EXPECT_EQ(number_of(kept->end(), "gaps"), 0U);
  EXPECT_EQ(number_of(owner->end(), "whole tables"), 1U);
}

TEST_F(Service, HasADigestThatIsTheSumOfTheHashesOfTheTablesLines) {
  auto owner = service(table_of(100));
  const std::string digest = owner->digest();
  std::istringstream lines(table_text(*owner, "owned"));
  uint64_t sum = 0;
  unsigned count = 0;
  for (std::string line; std::getline(lines, line) && !line.starts_with("end of table"); count++) {
    uint64_t hash = 14695981039346656037U;
    for (const char c : line) {
      hash ^= static_cast<uint8_t>(c);
      hash *= 1099511628211U;
    }
    sum += hash;
  }
  EXPECT_GT(count, 100U);
  char expected[40];
  snprintf(expected, sizeof expected, "digest %016llx,", static_cast<unsigned long long>(sum));
  EXPECT_TRUE(holds(digest, expected));
}

TEST_P(Services, PassOnWhatIsAddedChangedAndDeletedWithoutAnotherWholeTable) {
  auto owner = service(table_of(1000));
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  owner->tell(
      "+ 2001:db8:ffff::/48 via fe80::99 dev eth7 metric 5\n" // a next hop, a group, a route
      "+ 2001:db8:ffff::/48 via fe80::99 dev eth7 metric 6\n" // a route
      "- 2001:db8:0::/48\n"                                   // a route, and what only it used
      "+ blackhole 2001:db8:1::/48");
  owner->tell(added(0, 300));
  const std::string digest = wait_until_equal(*owner, *kept);
  EXPECT_TRUE(digest.ends_with(", 1,300 routes")) << digest;
  const std::string text = table_text(*kept, "kept");
  EXPECT_TRUE(holds(text, "route vrf 0 2001:db8:ffff::/48 : unicast group"));
  EXPECT_TRUE(holds(text, " metric 6 line "));
  EXPECT_FALSE(holds(text, " metric 5 "));
  EXPECT_FALSE(holds(text, "route vrf 0 2001:db8::/48 :"));
  EXPECT_TRUE(holds(text, "route vrf 0 2001:db8:1::/48 : blackhole group 0 metric 1024 line "));
  EXPECT_EQ(text, table_text(*owner, "owned"));
  const std::string end = kept->end();
  EXPECT_EQ(number_of(end, "whole tables"), 1U);
  EXPECT_EQ(number_of(end, "gaps"), 0U);
}

TEST_P(Services, DeleteNextHopsAndGroupsThatNoRouteUses) {
  auto owner = service(write_table("2001:db8::/32 via fe80::1 dev eth0\n"));
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  owner->tell("+ 2001:db8::/32 via fe80::2 dev eth0\n"
              "+ fd00::/8 nexthop via fe80::2 dev eth0 nexthop via fe80::3 dev eth1");
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with("2 routes"));
  EXPECT_TRUE(table_text(*kept, "kept")
                  .starts_with("next-hop 2 : via fe80::2 interface 101\n"
                               "next-hop 3 : via fe80::3 interface 102\n"
                               "group 2 : next-hop 2 weight 1\n"
                               "group 3 : next-hop 2 weight 1, next-hop 3 weight 1\n"
                               "route vrf 0 2001:db8::/32 : unicast group 2 metric 1024 line "));
  // Five changes for the first line: next hop 2, group 2, the route; group 1 and next hop 1 go.
  // Three for the second, two and four for those that delete.
  owner->tell("- 2001:db8::/32\n- fd00::/8");
  EXPECT_EQ(wait_until_equal(*owner, *kept), "digest 0000000000000000, change 14, 0 routes");
  EXPECT_EQ(table_text(*kept, "kept"), "end of table : 0 next hops, 0 groups, 0 routes\n");
}

TEST_P(Services, AnswerAPeerThatAsksForRoutesToAnAddress) {
  auto owner = service(write_table("::/0 via fe80::1 dev eth0\n"
                                   "2001:db8::/32 via fe80::2 dev eth0\n"
                                   "2001:db8:1::/48 via fe80::3 dev eth0\n"
                                   "unreachable 2001:db8:1:1::/64\n"));
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  kept->tell("ask 2001:db8:1:1::7");
  kept->wait_until_said("::/0 via fe80::1\n"
                        "2001:db8::/32 via fe80::2\n"
                        "2001:db8:1::/48 via fe80::3\n"
                        "2001:db8:1:1::/64 via ::\n");
  owner->tell("- ::/0");
  wait_until_equal(*owner, *kept);
  kept->answer_to("ask fd00::1", "no route");
}

TEST_P(Services, SurviveThatAPeerIsKilledInTheMiddleOfTheTable) {
  auto owner = service(table_of(1000), {"--pause", "60000"});
  {
    auto first = peer();
    first->wait_until_said("the whole table is on its way");
    first->kill_at_once();
    EXPECT_EQ(first->said("in step"), 0U);
  }
  owner->tell("pause 0\n" + added(0, 10));
  auto second = peer();
  EXPECT_TRUE(wait_until_equal(*owner, *second).ends_with(", 1,010 routes"));
  EXPECT_GE(number_of(owner->end(), "whole tables"), 2U);
}

TEST_P(Services, SurviveThatTheServiceIsKilledInTheMiddleOfTheTable) {
  auto first = service(table_of(1000), {"--pause", "60000"});
  auto kept = peer();
  kept->wait_until_said("the whole table is on its way");
  first->kill_at_once();
  EXPECT_EQ(kept->said("in step"), 0U);
  auto second = service(table_of(900));
  EXPECT_TRUE(wait_until_equal(*second, *kept).ends_with(", change 0, 900 routes"));
}

TEST_P(Services, SurviveThatTheServiceIsKilledWhenAllIsWell) {
  auto first = service(table_of(1000));
  auto kept = peer();
  first->tell(added(0, 100));
  const std::string before = wait_until_equal(*first, *kept);
  first->kill_at_once();
  kept->wait_until_said("the service does not answer");
  EXPECT_EQ(kept->digest(), before); // the table stays until there is another one
  auto second = service(table_of(1001));
  second->tell(added(50, 100));
  EXPECT_TRUE(wait_until_equal(*second, *kept).ends_with(", 1,101 routes"));
  kept->wait_until_said("the service is there");
}

TEST_P(Services, TellTheirPeersWhenTheyEnd) {
  auto owner = service(table_of(10));
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  owner->end();
  kept->wait_until_said("the service has ended");
}

// With the server's share of it.
const std::vector<std::string> narrow = {"MESH_HOST_WINDOW_MESSAGES=8",
                                         "MESH_HOST_SEND_TIMEOUT_MS=50"};
constexpr char narrow_at_server[] = "batches=4";

TEST_P(Services, LoseAndReorderNothingWhenAPeerThatIsStoppedHasNoRoom) {
  begin(narrow_at_server);
  auto owner = service(table_of(1000), {}, narrow);
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  kept->stop();
  // Every other route goes again, so the order matters.
  for (unsigned i = 0; i < 200; i++)
    owner->tell(added(i, 1) + (i % 2 == 0 ? "" : "\n- 2001:db8:f000:" + [&] {
                  std::ostringstream text;
                  text << std::hex << i << "::/64";
                  return text.str();
                }()));
  EXPECT_TRUE(owner->digest().ends_with(", 1,100 routes"));
  wait_until_busy(*owner);
  kept->go_on();
  wait_until_equal(*owner, *kept);
  // The service first: what is on its way to a peer that ends is lost.
  const std::string services_end = owner->end(), peers_end = kept->end();
  EXPECT_GT(number_of(services_end, "times busy"), 0U) << services_end;
  EXPECT_EQ(number_of(services_end, "losses"), 0U);
  EXPECT_EQ(number_of(peers_end, "gaps"), 0U) << peers_end;
  EXPECT_EQ(number_of(peers_end, "repeated"), 0U);
  EXPECT_EQ(number_of(peers_end, "whole tables"), 1U);
}

TEST_P(Services, ServeTheOthersWhileOnePeerIsStopped) {
  begin(narrow_at_server);
  auto owner = service(table_of(1000), {}, narrow);
  auto first = peer(1), second = peer(2);
  wait_until_equal(*owner, *first);
  wait_until_equal(*owner, *second);
  first->stop();
  owner->tell(added(0, 100));
  wait_until_equal(*owner, *second);
  first->go_on();
  wait_until_equal(*owner, *first);
}

TEST_P(Services, SurviveThatAPeerIsStoppedInTheMiddleOfTheTable) {
  begin(narrow_at_server);
  auto owner = service(table_of(1000), {"--pause", "60000"}, narrow);
  auto kept = peer(1, {}, "5000"); // it asks no second time
  kept->wait_until_said("the whole table is on its way");
  kept->stop();
  owner->tell("pause 0\n" + added(0, 50));
  wait_until_busy(*owner);
  kept->go_on();
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,050 routes"));
  // What had no room was sent later, and nothing but that.
  const std::string peers_end = kept->end(), services_end = owner->end();
  EXPECT_GT(number_of(services_end, "times busy"), 0U) << services_end;
  EXPECT_EQ(number_of(peers_end, "gaps"), 0U) << peers_end;
  EXPECT_EQ(number_of(peers_end, "whole tables"), 1U) << peers_end;
}

TEST_P(Services, SurviveThatTheServiceIsStopped) {
  auto owner = service(table_of(1000));
  auto kept = peer();
  const std::string before = wait_until_equal(*owner, *kept);
  owner->stop();
  kept->wait_until_said("the service does not answer");
  EXPECT_EQ(kept->digest(), before);
  owner->go_on();
  kept->wait_until_said("the service is there");
  owner->tell(added(0, 100));
  wait_until_equal(*owner, *kept);
  EXPECT_EQ(number_of(kept->end(), "whole tables"), 1U);
}

TEST_P(Services, SendTheWholeTableToAPeerThatWasKilledWithChangesOnTheirWay) {
  auto owner = service(table_of(1000));
  auto first = peer();
  wait_until_equal(*owner, *first);
  first->stop();
  const uint64_t before = sent_by(*owner, peer_destination).accepted;
  owner->tell(added(0, 50));
  wait_until_sent(*owner, before + 50);
  first->kill_at_once();
  auto second = peer();
  EXPECT_TRUE(wait_until_equal(*owner, *second).ends_with(", 1,050 routes"));
  // A server keeps them for the next peer, which knows that they are not for it.
  const std::string end = owner->end();
  EXPECT_EQ(number_of(end, "losses"), GetParam() == way::local ? 1U : 0U) << end;
}

void send_raw(uint32_t destination, const encoded_message &message, uint64_t target) {
  const msg_desc description{message.bytes.data(), message.id,
                             static_cast<uint32_t>(message.bytes.size())};
  const uint64_t result = target == 0 ? MESH_SendMsg(destination, &description, 1)
                                      : MESH_SendToMsg(destination, &description, 1, target);
  EXPECT_EQ(static_cast<uint32_t>(result), 0U);
}

template <class Message>
encoded_message packed(uint32_t id, const Message &message,
                       uint32_t (*pack)(const Message *, uint8_t *, uint32_t *)) {
  std::vector<uint8_t> bytes(2048);
  uint32_t length = 2048;
  EXPECT_EQ(pack(&message, bytes.data(), &length), 0U);
  bytes.resize(length);
  return {id, bytes};
}

feiBrokerFib6_ipv6Fwd some_route() {
  demo::route_key key;
  EXPECT_EQ(demo::parse_prefix("2001:db8:dead::/48", key.destination), "");
  return demo::route_record(key, {demo::route_kind::blackhole, 0, 1024, 1});
}

encoded_message change_numbered(uint32_t number) {
  feiBrokerFib6_ipv6Fwd route = some_route();
  const feiBrokerFib6_ipv6FwdUpdateMsg update{number, 1, &route};
  return packed(feiBrokerFib6_ipv6FwdUpdateMsg_ID, update, feiBrokerFib6_ipv6FwdUpdateMsg__pack);
}

TEST_P(Services, AskForTheWholeTableAfterAGap) {
  auto owner = service(table_of(1000));
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  send_raw(peer_destination, change_numbered(5), epoch_of(*owner));
  kept->wait_until_said("in step: ", 2);
  wait_until_equal(*owner, *kept);
  const std::string end = kept->end();
  EXPECT_EQ(number_of(end, "gaps"), 1U);
  EXPECT_EQ(number_of(end, "whole tables"), 2U);
}

TEST_P(Services, NoticeByTheDigestThatATableHasWhatTheServiceNeverSent) {
  auto owner = service(table_of(1000));
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  send_raw(peer_destination, change_numbered(1),
           epoch_of(*owner)); // as if it were the service's first
  kept->wait_until_said("in step: ", 2);
  wait_until_equal(*owner, *kept);
  EXPECT_FALSE(holds(table_text(*kept, "kept"), "2001:db8:dead::/48"));
}

TEST_P(Services, IgnoreWhatAnotherServiceSays) {
  auto owner = service(table_of(1000));
  auto kept = peer();
  const std::string before = wait_until_equal(*owner, *kept);
  send_raw(peer_destination, change_numbered(1), epoch_of(*owner) ^ 2);
  send_raw(peer_destination, change_numbered(1), 0);
  std::this_thread::sleep_for(300ms);
  EXPECT_EQ(kept->digest(), before);
  const std::string end = kept->end();
  EXPECT_EQ(number_of(end, "strangers"), 2U);
  EXPECT_EQ(number_of(end, "gaps"), 0U);
}

// What the server may do to both. It keeps its streams on disk.
class ServicesAtAServer : public ServiceTest {
protected:
  void SetUp() override {
    ASSERT_TRUE(nats_server::is_installed()) << "Debian's package nats-server has it";
    server = std::make_unique<nats_server>(mine() + "/nats");
    server->start();
    place(server->url(), "storage=file");
  }
  void TearDown() override {
    server.reset();
    ServiceTest::TearDown();
  }

  std::unique_ptr<nats_server> server;
};

TEST_F(ServicesAtAServer, ComeToTheSameTableWhenItIsKilledInTheMiddleOfTheTable) {
  auto owner = service(table_of(1000), {"--pause", "60000"});
  auto kept = peer();
  kept->wait_until_said("the whole table is on its way");
  server->kill();
  owner->tell("pause 0\n" + added(0, 20));
  owner->digest(); // the changes are made; nobody takes them
  server->start();
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,020 routes"));
  EXPECT_EQ(number_of(owner->end(), "losses"), 0U);
}

TEST_F(ServicesAtAServer, ComeToTheSameTableWhenItIsKilledBetweenChanges) {
  auto owner = service(table_of(1000), {"--pause", "5"});
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  for (unsigned i = 0; i < 300; i += 50) {
    owner->tell(added(i, 50));
    if (i % 100 != 0)
      continue;
    server->kill();
    server->start();
  }
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,300 routes"));
  // What is on disk is not lost: no table had to go again.
  EXPECT_EQ(number_of(owner->end(), "losses"), 0U);
  const std::string end = kept->end();
  EXPECT_EQ(number_of(end, "gaps"), 0U) << end;
  EXPECT_EQ(number_of(end, "whole tables"), 1U) << end;
}

TEST_F(ServicesAtAServer, ComeToTheSameTableWhenItKeepsNothing) {
  place(server->url(), "storage=memory");
  auto owner = service(table_of(1000));
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  kept->stop();
  const uint64_t before = sent_by(*owner, peer_destination).handled;
  owner->tell(added(0, 50));
  EXPECT_TRUE(
      comes_to_pass([&] { return sent_by(*owner, peer_destination).handled >= before + 50; }));
  server->kill(); // and with it what the peer did not take
  kept->go_on();
  server->start();
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,050 routes"));
}

TEST_F(ServicesAtAServer, ComeToTheSameTableWhenItIsStopped) {
  auto owner = service(table_of(1000));
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  server->stop();
  owner->tell(added(0, 100));
  kept->wait_until_said("the service does not answer");
  server->go_on();
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,100 routes"));
  EXPECT_EQ(number_of(kept->end(), "whole tables"), 1U);
}

// Who is killed in the middle: of the table, of changes. Nobody waits for anybody.
class ServicesKilledAtAServer : public ServicesAtAServer,
                                public testing::WithParamInterface<std::string> {
protected:
  bool dies(char who) const { return GetParam().find(who) != std::string::npos; }
  void kill_some(const std::string &table) {
    if (dies('o'))
      owner->kill_at_once();
    if (dies('p'))
      kept->kill_at_once();
    if (dies('s'))
      server->kill();
    if (dies('s'))
      server->start();
    if (dies('p'))
      kept = peer();
    if (dies('o'))
      owner = service(table, {"--pause", "5"});
  }

  // Before the server, for whom they would wait.
  void TearDown() override {
    owner.reset();
    kept.reset();
    ServicesAtAServer::TearDown();
  }

  std::unique_ptr<conversation> owner, kept;
};

TEST_P(ServicesKilledAtAServer, ComeToTheSameTable) {
  const std::string table = table_of(1500);
  owner = service(table, {"--pause", "5"});
  kept = peer();
  kept->wait_until_said("the whole table is on its way");
  kill_some(table);
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,500 routes"));
  owner->tell(added(0, 200));
  kill_some(table);
  owner->tell(added(200, 200) + "\n" + added(0, 200));
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,900 routes"));
}

INSTANTIATE_TEST_SUITE_P(, ServicesKilledAtAServer,
                         testing::Values("p", "o", "ps", "os", "op", "ops"), [](const auto &each) {
                           std::string name;
                           for (const char who : each.param)
                             name += who == 'o' ? "Owner" : who == 'p' ? "Peer" : "Server";
                           return name;
                         });

// A cluster's servers find each other on loopback.
TEST_F(Service, ComesToTheSameTableWhenOneOfThreeServersIsKilledInTheMiddleOfIt) {
  ASSERT_TRUE(nats_server::is_installed()) << "Debian's package nats-server has it";
  nats_cluster cluster(mine() + "/nats");
  cluster.start();
  place(cluster.urls(), "storage=file replicas=3");
  auto owner = service(table_of(1500), {"--pause", "60000"});
  auto kept = peer();
  kept->wait_until_said("the whole table is on its way");
  owner->tell("pause 5");
  cluster.at(0).kill();
  owner->tell(added(0, 100));
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,600 routes"));
  cluster.at(0).start();
  cluster.wait_until_whole();
  cluster.at(1).kill();
  owner->tell(added(100, 100));
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,700 routes"));
  EXPECT_EQ(number_of(owner->end(), "losses"), 0U);
}

// One of each type that service and peers agreed upon, sound.
std::vector<encoded_message> messages_of_services() {
  std::vector<encoded_message> all = agreed_messages();
  all.push_back(packed(
      fib6Sync_svcCtxMsg_ID,
      demo::record_of(demo::service_context{demo::service_state::table_begins, 1, 9, 77, 0, 3, 5}),
      fib6Sync_svcCtxMsg__pack));
  fib6Sync_ipv6FwdUpdateMsg entry{};
  entry.f0 = {1, 1};
  entry.f1.f4 = 48;
  all.push_back(packed(fib6Sync_ipv6FwdUpdateMsg_ID, entry, fib6Sync_ipv6FwdUpdateMsg__pack));
  fib6Sync_nhp6GroupNodeUpdateMsg member{};
  member.f0 = {1, 1};
  member.f1.f1 = 7;
  all.push_back(
      packed(fib6Sync_nhp6GroupNodeUpdateMsg_ID, member, fib6Sync_nhp6GroupNodeUpdateMsg__pack));
  all.push_back(
      packed(fib6_cfg_query_fib6check_key_ID,
             demo::record_of(demo::check{peer_destination, 1, demo::wish::whole_table, 0, 1, 2}),
             fib6_cfg_query_fib6check_key__pack));
  all.push_back(packed(fib6_cfg_query_fib6check_rec_ID,
                       demo::record_of(demo::check_answer{1, demo::verdict::same, 0, 1, 2, 3}),
                       fib6_cfg_query_fib6check_rec__pack));
  fib6_cfg_query_fib6_key query{};
  query.f0.f0 = peer_destination;
  query.f1.f0 = 1;
  all.push_back(packed(fib6_cfg_query_fib6_key_ID, query, fib6_cfg_query_fib6_key__pack));
  fib6_cfg_query_fib6_item item{};
  fib6_cfg_query_fib6_rec answer{};
  answer.f0.f2 = answer.f1_count = 1;
  answer.f1 = &item;
  all.push_back(packed(fib6_cfg_query_fib6_rec_ID, answer, fib6_cfg_query_fib6_rec__pack));
  return all;
}

TEST_P(Services, SurviveMessagesThatAreCutOrMadeUpOnBothSides) {
  auto owner = service(table_of(100));
  auto kept = peer();
  wait_until_equal(*owner, *kept);
  const uint64_t epoch = epoch_of(*owner);
  for (const encoded_message &sound : messages_of_services()) {
    std::vector<encoded_message> all = cut(sound);
    const std::vector<encoded_message> random = randomised(sound, 20);
    all.insert(all.end(), random.begin(), random.end());
    for (const encoded_message &each : all) {
      send_raw(peer_destination, each, epoch);
      send_raw(service_destination, each, epoch);
    }
  }
  owner->tell(added(0, 10));
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 110 routes"));
  EXPECT_GT(number_of(owner->end(), "refused"), 0U);
  EXPECT_GT(number_of(kept->end(), "refused"), 0U);
}

TEST_P(Services, ComeToTheSameTableWithAllocationsThatFailOnBothSides) {
  const std::vector<std::string> poor = {"OSAL_HOST_FAIL_PROBABILITY=0.05", "OSAL_HOST_POISON=1"};
  auto owner = service(table_of(300), {}, poor);
  auto kept = peer(1, poor);
  wait_until_equal(*owner, *kept);
  owner->tell(added(0, 100));
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 400 routes"));
}

TEST_P(Services, ComeToTheSameTableWithAMeshThatRefusesCallsAndHandsMessagesOnTwice) {
  const std::vector<std::string> poor = {"MESH_HOST_FAULT_REFUSE=0.1",
                                         "MESH_HOST_FAULT_DUPLICATE=0.05"};
  auto owner = service(table_of(1000), {}, poor);
  auto kept = peer(1, poor);
  wait_until_equal(*owner, *kept);
  owner->tell(added(0, 200));
  EXPECT_TRUE(wait_until_equal(*owner, *kept).ends_with(", 1,200 routes"));
  const std::string peers_end = kept->end();
  EXPECT_GT(number_of(peers_end, "repeated"), 0U) << peers_end;
  EXPECT_EQ(number_of(peers_end, "gaps"), 0U) << peers_end;
  EXPECT_EQ(number_of(peers_end, "whole tables"), 1U) << peers_end;
  EXPECT_GT(number_of(owner->end(), "times busy"), 0U);
}

TEST_F(Service, NamesBadLinesAndGoesOn) {
  auto owner = service(table_of(10));
  owner->tell("+ 2001:db8::1/32 via fe80::1\n"
              "- 2001:db8:aaaa::/48\n"
              "- 2001:db8:1::/48 via fe80::1\n"
              "add 2001:db8::/32\n"
              "+\n"
              "# a remark\n"
              "+ 2001:db8:bbbb::/48");
  EXPECT_TRUE(comes_to_pass([&] { return owner->digest().ends_with(", 11 routes"); }));
  owner->tell("quit");
  EXPECT_EQ((*owner)->status(60), 3);
  const std::string errors = (*owner)->errors();
  EXPECT_TRUE(holds(errors, "standard input:1: "));
  EXPECT_TRUE(holds(errors, "standard input:2: there is no route to 2001:db8:aaaa::/48\n"));
  EXPECT_TRUE(holds(errors, "standard input:3: expected nothing behind the prefix, found 'via'\n"));
  EXPECT_TRUE(holds(errors, "standard input:4: expected '+ ROUTE' or '- PREFIX', found 'add'\n"));
  EXPECT_TRUE(holds(errors, "standard input:5: expected an IPv6 prefix, found nothing\n"));
  EXPECT_FALSE(holds(errors, "standard input:6"));
}

TEST_F(Service, SaysThatLinesCannotBeReadAndGoesOn) {
  program_run service(
      {{program("fib6-service"), table_of(10), "--changes", mine()}, "/dev/null", work(), {}});
  EXPECT_TRUE(comes_to_pass([&] { return !service.errors().empty(); }));
  service.wait_for("serving 10 routes");
  kill(service.pid(), SIGTERM);
  EXPECT_EQ(service.status(60), 3);
  EXPECT_TRUE(holds(service.output(), "ended: "));
  EXPECT_EQ(service.errors(), "cannot read " + mine() + " behind line 0: Is a directory\n");
}

} // namespace
