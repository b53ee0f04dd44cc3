// A target without libFuzzer, quickly: very many inputs, made from known ones, each by its number.
//
// Room: attacks. One process, no fork, no sanitizer. Input N of seed S and of the same known inputs
// is the same bytes on every machine, whatever was executed before, so a campaign can be split
// among processes and go on where it ended, and what it finds is found again. Ends with 0 when
// nothing was found, 1 when something was, 2 for wrong usage.
#include "fuzz/decode_check.h"
#include "fuzz/target.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <sys/time.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr const char *usage =
    "usage: %s [--seed S] [--from N] [--runs COUNT] [--findings FOLDER] FILE|FOLDER...\n"
    "Executes this target with inputs made from the files, and all below the folders (but "
    "README.md).\n"
    "  --seed S           which inputs (1)\n"
    "  --from N           the number of the first one (0)\n"
    "  --runs COUNT       how many (1000000)\n"
    "  --findings FOLDER  where an input that finds something is written (.)\n"
    "Prints what it did as JSON. Ends at the first finding, which the target's own program "
    "executes again.\n";

constexpr uint32_t longest = 1024;
constexpr uint32_t head = fuzz::identifier_size + 1;
constexpr int patience = 10; // seconds of the processor's without an execution: it may be stopped

// Shorter ones are not executed.
uint32_t shortest() {
  return fuzz::made_of == fuzz::material::choices ? head + 4 : head;
}

using input = std::vector<uint8_t>;

struct settings {
  uint64_t seed = 1, from = 0, runs = 1000000;
  std::string findings = ".";
};

// splitmix64: https://prng.di.unimi.it/splitmix64.c
class chance {
public:
  chance(uint64_t seed, uint64_t number) : state_(mixed(seed + step) ^ mixed(number)) {}

  uint32_t number() { return static_cast<uint32_t>(mixed(state_ += step) >> 32); }
  // Less than the bound.
  uint32_t below(uint32_t bound) {
    return static_cast<uint32_t>((uint64_t{number()} * bound) >> 32);
  }
  bool one_in(uint32_t times) { return below(times) == 0; }

private:
  static constexpr uint64_t step = 0x9E3779B97F4A7C15;
  static uint64_t mixed(uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
  }
  uint64_t state_;
};

// The input that is being executed; static, for what ends the process to be able to keep it.
uint8_t bytes[longest];
uint32_t size;

void put(uint32_t at, uint32_t width, uint32_t value, bool reversed) {
  for (uint32_t i = 0; i < width; i++)
    bytes[at + i] = static_cast<uint8_t>(value >> (8 * (reversed ? width - 1 - i : i)));
}

uint32_t get(uint32_t at, uint32_t width, bool reversed) {
  uint32_t value = 0;
  for (uint32_t i = 0; i < width; i++)
    value |= uint32_t{bytes[at + i]} << (8 * (reversed ? width - 1 - i : i));
  return value;
}

void name_some_message(chance &chance) {
  put(0, fuzz::identifier_size, fuzz::all_messages()[chance.below(fuzz::message_count)].id, false);
}

// A word somewhere becomes one that the format might trip over.
void change_word(chance &chance) {
  constexpr uint32_t edges[] = {0,          1,          2,          3,          4,
                                5,          6,          8,          0xFF,       0x7FFF,
                                0x8000,     0xFFFF,     0x3FFFFFFF, 0x40000000, 0x7FFFFFFF,
                                0x80000000, 0xFFFFFFFC, 0xFFFFFFFF};
  const uint32_t width = chance.one_in(2) ? 2 : 4;
  if (size < head + width)
    return;
  const uint32_t at = head + chance.below(size - head - width + 1);
  const bool reversed = chance.one_in(4);
  const uint32_t old = get(at, width, reversed);
  uint32_t value = 0;
  switch (chance.below(4)) {
  case 0:
    value = edges[chance.below(std::size(edges))];
    break;
  case 1:
    value = old + chance.below(33) - 16;
    break;
  case 2: // leads to the end, or somewhere beside it
    value = size - at + chance.below(17) - 8;
    break;
  default:
    value = get(head + chance.below(size - head - width + 1), width, reversed);
    break;
  }
  put(at, width, value, reversed);
}

void change_bytes(chance &chance, const std::vector<input> &known) {
  const uint32_t what = chance.below(16);
  if (what < 8)
    return change_word(chance);
  if (what == 8 && size > shortest()) { // the end is missing
    const uint32_t most = size - shortest();
    size -= chance.below((chance.one_in(2) ? most : std::min(most, 8U)) + 1);
    return;
  }
  if (what == 9) { // something follows
    const uint32_t more = chance.below(std::min(longest - size, 32U) + 1);
    memset(bytes + size, chance.one_in(2) ? 0 : static_cast<int>(chance.below(256)), more);
    size += more;
    return;
  }
  if (what == 10) { // a piece of another input
    const input &other = known[chance.below(static_cast<uint32_t>(known.size()))];
    const auto there = static_cast<uint32_t>(other.size());
    const uint32_t from = chance.below(there), at = chance.below(size);
    const uint32_t length = std::min({1 + chance.below(32), there - from, size - at});
    memcpy(bytes + at, other.data() + from, length);
    return;
  }
  uint8_t &one = bytes[what == 11 ? head - 1 : chance.below(size)];
  one = what < 14 ? static_cast<uint8_t>(one ^ 1U << chance.below(8))
                  : static_cast<uint8_t>(chance.number());
}

void spoil_known_input(chance &chance, const std::vector<input> &known) {
  const input &one = known[chance.below(static_cast<uint32_t>(known.size()))];
  size = static_cast<uint32_t>(one.size());
  memcpy(bytes, one.data(), size);
  if (chance.one_in(16))
    name_some_message(chance);
  // One change goes deepest; many come where nobody has thought of.
  constexpr uint8_t counts[8] = {0, 1, 1, 1, 2, 2, 3, 8};
  for (uint32_t i = counts[chance.below(8)]; i != 0; i--)
    change_bytes(chance, known);
}

// Any message, any record, and mostly one to three mutations (mutated.cpp).
void choose(chance &chance) {
  name_some_message(chance);
  bytes[head - 1] = static_cast<uint8_t>(chance.number() & (chance.one_in(4) ? 0xFF : 0x8F));
  put(head, 4, chance.number(), false);
  constexpr uint8_t counts[8] = {0, 1, 1, 1, 2, 2, 3, 8};
  size = head + 4;
  for (uint32_t i = counts[chance.below(8)]; i != 0; i--) {
    const uint32_t what = chance.below(8);
    // Words that lead a little beside (what 3) are trickier than words that lead anywhere.
    const uint32_t value =
        what == 3 && chance.one_in(2) ? 0x8000 + chance.below(33) - 16 : chance.number();
    put(size, 2, what | chance.below(256) << 8, false);
    put(size + 2, 2, value, false);
    size += 4;
  }
}

void make_input(uint64_t seed, uint64_t number, const std::vector<input> &known) {
  chance chance(seed, number);
  if (fuzz::made_of == fuzz::material::choices && !chance.one_in(4))
    choose(chance);
  else
    spoil_known_input(chance, known);
}

// ---- findings: of the checks, of the processor, of the clock
// -------------------------------------

settings wanted;
volatile uint64_t current;
char finding_path[4096];

// Called from handlers of signals, too.
void keep_input() {
  const int file = open(finding_path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (file < 0 || write(file, bytes, size) != static_cast<ssize_t>(size)) {
    constexpr char text[] = "campaign: the input cannot be written\n";
    (void)!write(2, text, sizeof text - 1);
  }
  if (file >= 0)
    close(file);
}

void tell(const char *what) {
  char text[sizeof finding_path + 1024];
  const int length = snprintf(
      text, sizeof text, "finding: %s\n  input: %s\n  again: --seed %llu --from %llu --runs 1\n",
      what, finding_path, static_cast<unsigned long long>(wanted.seed),
      static_cast<unsigned long long>(current));
  (void)!write(2, text, std::min(static_cast<size_t>(length), sizeof text - 1));
}

void on_crash(int number) {
  keep_input();
  tell(number == SIGSEGV || number == SIGBUS ? "memory is touched that is nobody's"
                                             : "the process would have been ended");
  _exit(1);
}

void on_tick(int) {
  static uint64_t last = UINT64_MAX;
  if (last == current) {
    keep_input();
    tell("an execution does not end");
    _exit(1);
  }
  last = current;
}

void watch() {
  static uint8_t stack[1 << 16]; // the library's may be used up
  const stack_t alternate{stack, 0, sizeof stack};
  sigaltstack(&alternate, nullptr);
  struct sigaction action {};
  action.sa_flags = SA_ONSTACK;
  action.sa_handler = on_crash;
  for (const int number : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT})
    sigaction(number, &action, nullptr);
  action.sa_flags |= SA_RESTART;
  action.sa_handler = on_tick;
  sigaction(SIGPROF, &action, nullptr);
  const itimerval every{{patience, 0}, {patience, 0}};
  setitimer(ITIMER_PROF, &every, nullptr);
}

// ---- what was done ------------------------------------------------------------------------------

struct counts {
  uint64_t of[4]; // by fuzz::depth
};

class account {
public:
  void add(const fuzz::outcome &outcome) {
    if (outcome.message == nullptr)
      return; // nothing was decoded, so nothing is counted
    by_message_[outcome.message - fuzz::all_messages().data()]
        .of[static_cast<int>(outcome.depth)]++;
    for (const uint64_t part :
         {uint64_t{outcome.message->id} << 32 | static_cast<uint32_t>(outcome.depth) << 16 |
              outcome.line << 8 | outcome.requests,
          uint64_t{outcome.first} << 32 | outcome.second})
      digest_ = ((digest_ ^ part) * 0x9E3779B97F4A7C15) ^ (digest_ >> 29);
  }

  void print(double seconds, bool finding) const {
    counts sum{};
    for (const counts &row : by_message_)
      for (int i = 0; i < 4; i++)
        sum.of[i] += row.of[i];
    const uint64_t compared = sum.of[1] + sum.of[2] + sum.of[3];
    printf("{\"seed\": %llu, \"from\": %llu, \"executions\": %llu, \"compared\": %llu, "
           "\"findings\": %d, "
           "\"processor_seconds\": %.3f, \"digest\": \"%016llx\",\n \"messages\": {",
           static_cast<unsigned long long>(wanted.seed),
           static_cast<unsigned long long>(wanted.from),
           static_cast<unsigned long long>(compared + sum.of[0]),
           static_cast<unsigned long long>(compared), finding ? 1 : 0, seconds,
           static_cast<unsigned long long>(digest_));
    const char *comma = "";
    for (const fuzz::message &message : fuzz::all_messages()) {
      const counts &row = by_message_[&message - fuzz::all_messages().data()];
      printf("%s\n  \"%s\": {\"parameters\": %llu, \"refused\": %llu, \"failed\": %llu, "
             "\"decoded\": %llu}",
             comma, message.name, static_cast<unsigned long long>(row.of[0]),
             static_cast<unsigned long long>(row.of[1]), static_cast<unsigned long long>(row.of[2]),
             static_cast<unsigned long long>(row.of[3]));
      comma = ",";
    }
    printf("}}\n");
  }

private:
  counts by_message_[fuzz::message_count] = {};
  uint64_t digest_ = 0;
};

int run(const std::vector<input> &known) {
  account done;
  bool finding = false;
  watch();
  const std::clock_t start = std::clock();
  for (uint64_t i = 0; i < wanted.runs && !finding; i++) {
    current = wanted.from + i;
    make_input(wanted.seed, current, known);
    if (const char *const wrong = fuzz::execute(bytes, size); wrong != nullptr) {
      keep_input();
      tell(wrong);
      finding = true;
    }
    done.add(fuzz::take_outcome());
  }
  const double took = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  done.print(took, finding);
  return finding ? 1 : 0;
}

// ---- what is wanted -----------------------------------------------------------------------------

bool read_input(const fs::path &path, std::vector<input> &known) {
  std::ifstream file(path, std::ios::binary);
  input content{std::istreambuf_iterator<char>(file), {}};
  if (!file) {
    fprintf(stderr, "campaign: %s: cannot be read\n", path.c_str());
    return false;
  }
  if (content.size() >= shortest() && content.size() <= longest)
    known.push_back(std::move(content));
  return true;
}

// The order is that of the names, so that it is the same everywhere.
bool read_inputs(const char *given, std::vector<input> &known) {
  std::error_code failure;
  if (fs::is_regular_file(given, failure))
    return read_input(given, known);
  if (!fs::is_directory(given, failure)) {
    fprintf(stderr, "campaign: %s: expected a file or a folder\n", given);
    return false;
  }
  std::vector<fs::path> paths;
  for (const fs::directory_entry &entry : fs::recursive_directory_iterator(given))
    if (entry.is_regular_file() && entry.path().filename() != "README.md")
      paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  return std::all_of(paths.begin(), paths.end(),
                     [&](const fs::path &path) { return read_input(path, known); });
}

bool read_number(std::string_view option, const char *text, uint64_t &number) {
  const char *const end = text + strlen(text);
  const auto [stop, failure] = std::from_chars(text, end, number);
  if (failure == std::errc{} && stop == end)
    return true;
  fprintf(stderr, "campaign: %s needs a whole number, not '%s'\n", option.data(), text);
  return false;
}

} // namespace

int main(int argc, char **argv) {
  const bool help = argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0);
  std::vector<input> known;
  bool right = argc > 1 && !help;
  for (int i = 1; i < argc && right; i++) {
    const std::string_view option = argv[i];
    if (!option.starts_with("--")) {
      if (!read_inputs(argv[i], known))
        return 2;
      continue;
    }
    right = i + 1 < argc;
    if (!right)
      break;
    const char *const value = argv[++i];
    if (option == "--findings")
      wanted.findings = value;
    else if (option == "--seed")
      right = read_number(option, value, wanted.seed);
    else if (option == "--from")
      right = read_number(option, value, wanted.from);
    else if (option == "--runs")
      right = read_number(option, value, wanted.runs);
    else
      right = false;
  }
  if (!right) {
    fprintf(help ? stdout : stderr, usage, argv[0]);
    return help ? 0 : 2;
  }
  if (known.empty()) {
    fprintf(stderr, "campaign: no input in what was given\n");
    return 2;
  }
  std::error_code failure;
  fs::create_directories(wanted.findings, failure);
  const int length = snprintf(
      finding_path, sizeof finding_path, "%s/%s-%llu-%llu", wanted.findings.c_str(),
      fuzz::made_of == fuzz::material::choices ? "mutated" : "decode",
      static_cast<unsigned long long>(wanted.seed), static_cast<unsigned long long>(wanted.from));
  if (failure || length < 0 || static_cast<size_t>(length) >= sizeof finding_path) {
    fprintf(stderr, "campaign: %s: findings cannot be written there\n", wanted.findings.c_str());
    return 2;
  }
  return run(known);
}
