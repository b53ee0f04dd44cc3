// Reader of the listings; see listings.h.
//
// Room: tests.
#include "tests/documents/listings.h"
#include "tests/support/pattern.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>

namespace documents {
namespace {

constexpr const char *wire_format_path = "docs/wire-format.md";

bool is_item(const std::string &line) {
  return pattern::matched(line, " *[0-9]+ +\\|.*").has_value();
}

// Where the third bar is, which ends what golden files have.
size_t end_of_meaning(const std::string &line) {
  size_t at = line.find('|');
  for (int bars = 1; bars < 3 && at != std::string::npos; ++bars)
    at = line.find('|', at + 1);
  return at;
}

// "12 = 4 this word + 8 the vtable": numbers, what is between them, and words that say what they
// are.
class sum {
public:
  explicit sum(const std::string &text) {
    std::istringstream words(text);
    for (std::string word; words >> word;)
      take(word);
    end_product();
  }

  // What stands left of the `=`; nothing where there is none.
  std::optional<int64_t> stated() const { return stated_; }

  // What does not come out; empty when all does.
  std::string complaint() const {
    if (!wrong_.empty())
      return wrong_;
    return stated_ == total_ ? ""
                             : "states " + std::to_string(stated_.value_or(0)) +
                                   ", but what follows is " + std::to_string(total_);
  }

private:
  void take(const std::string &word) {
    if (const auto number = pattern::matched(word, "(-?[0-9]+)[,:;.]?"))
      take_number(std::stoll((*number)[1]));
    else if (word == "=")
      state();
    else if (word == "+" || word == "-")
      end_product(), sign_ = word == "+" ? 1 : -1;
    else if (word == "x")
      multiplies_ = true;
  }

  void take_number(int64_t value) {
    if (product_ && !multiplies_)
      wrong_ = "has two numbers with nothing between them";
    product_ = product_.value_or(1) * value;
    multiplies_ = false;
  }

  void state() {
    if (stated_)
      wrong_ = "has two =";
    end_product();
    stated_ = total_;
    total_ = 0;
    sign_ = 1;
  }

  void end_product() {
    if (!product_)
      wrong_ = "lacks a number";
    total_ += sign_ * product_.value_or(0);
    product_.reset();
  }

  std::optional<int64_t> stated_, product_;
  int64_t total_ = 0, sign_ = 1;
  bool multiplies_ = false;
  std::string wrong_;
};

bool begins_with(const std::string &text, std::initializer_list<const char *> beginnings) {
  return std::any_of(beginnings.begin(), beginnings.end(),
                     [&text](const char *each) { return text.rfind(each, 0) == 0; });
}

bool is_padding(const annotated::item &item) {
  return begins_with(item.meaning, {"gap ", "rest ", "tail "});
}

// Values and counts are the record's, and what is absent is nowhere: there is nothing to work out.
bool needs_a_sum(const annotated::item &item) {
  return !pattern::matched(item.meaning, "slot [0-9]+ absent|[^ ]+ (=|count) .*");
}

int64_t number_in(const annotated::image &image, const annotated::item &item) {
  if (is_padding(item))
    return static_cast<int64_t>(item.size);
  uint32_t value = 0;
  for (size_t i = 0; i < item.size; ++i)
    value |= uint32_t{image.bytes.at(item.at + i)} << 8 * i;
  return item.size == 4 ? static_cast<int32_t>(value) : int64_t{value};
}

std::string complaint(const annotated::image &image, const annotated::item &item,
                      const std::string &why) {
  if (why.find(" = ") == std::string::npos)
    return needs_a_sum(item) ? "\"" + item.meaning + "\" lacks a sum: N = A what + B what" : "";
  const sum sum(why);
  if (const std::string wrong = sum.complaint(); !wrong.empty())
    return "\"" + why + "\" " + wrong;
  const int64_t number = number_in(image, item);
  return sum.stated() == number
             ? ""
             : "\"" + why + "\" is about another number than the item's " + std::to_string(number);
}

} // namespace

listings listings_in(std::istream &document, const std::string &path) {
  listings all;
  std::ostringstream blocks; // all other lines left empty, so that lines keep their numbers
  enum class place { prose, listing, block } at = place::prose;
  size_t number = 0;
  for (std::string line; std::getline(document, line); blocks << '\n') {
    ++number;
    if (line.rfind("```", 0) == 0) {
      at = at != place::prose ? place::prose : line == "```golden" ? place::listing : place::block;
    } else if (at != place::listing) {
      if (at == place::block && is_item(line))
        annotated::complain(path, number, "an item in a block that does not begin with ```golden");
      if (at == place::prose)
        all.prose.push_back({number, line});
    } else if (is_item(line)) {
      const size_t bar = end_of_meaning(line);
      if (bar == std::string::npos)
        annotated::complain(path, number, "expected \"offset | bytes | meaning | why\"");
      all.whys[number] = trimmed(line.substr(bar + 1));
      blocks << line.substr(0, bar);
    } else {
      blocks << line;
    }
  }
  if (at != place::prose)
    annotated::complain(path, number, "the last block does not end");
  std::istringstream text(blocks.str());
  all.text = annotated::parse(text, path);
  return all;
}

std::string trimmed(const std::string &text) {
  const size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string text_of(const std::string &path) {
  std::ifstream file(MESH_FIB6_SOURCE_DIR "/" + path);
  if (!file)
    throw std::runtime_error(path + ": cannot be read");
  return {std::istreambuf_iterator<char>(file), {}};
}

listings of_wire_format() {
  std::istringstream document(text_of(wire_format_path));
  return listings_in(document, wire_format_path);
}

std::vector<std::string> wrong_sums(const listings &all) {
  std::vector<std::string> result;
  const auto complain = [&](size_t line, const std::string &what) {
    if (!what.empty())
      result.push_back(all.text.path + ":" + std::to_string(line) + ": " + what);
  };
  for (const annotated::image &image : all.text.images)
    for (const annotated::item &item : image.items)
      complain(item.line, complaint(image, item, all.whys.at(item.line)));
  // In the text the result comes last: "64 + 35 = 99".
  for (const annotated::text_line &line : all.prose)
    for (const pattern::groups &found :
         pattern::all_found(line.text, "([0-9]+( [-+x] [0-9]+)+) = ([0-9]+)"))
      if (const std::string wrong = sum(found[3] + " = " + found[1]).complaint(); !wrong.empty())
        complain(line.line, "\"" + found[0] + "\" " + wrong);
  return result;
}

} // namespace documents
