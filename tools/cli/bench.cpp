// mesh-fib6 bench.
//
// Room: tools.
#include "tools/cli/commands.h"
#include "tools/library.h"
#include "tools/random_message.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <fmt/format.h>

namespace mesh_fib6::tools::cli {
namespace {

using clock = std::chrono::steady_clock;

// Records that are measured, with their bytes. More than one, so that a processor does not learn
// the branches of a single one by heart.
class material {
public:
  explicit material(const bench_options &options) : message_(*options.message) {
    if (options.from.empty()) {
      constexpr uint32_t count = 64;
      for (uint32_t i = 0; i < count; i++)
        add(made_.emplace_back(*message_.table, options.seed + i).next());
      return;
    }
    // Records as the library decodes them stay where they are, those of a reader do not.
    input from(options.from);
    record_reader reader(*message_.table, from.source());
    record_reader::outcome outcome{};
    while ((outcome = reader.next()) == record_reader::outcome::record) {
      const auto bytes = packed(message_, reader.record());
      decoded_record &record = read_.emplace_back(message_);
      if (!bytes || !record.read(*bytes))
        throw failure(ending::input, from.source().name() + ": a record is too large");
      add(record.get());
    }
    from.check();
    if (outcome == record_reader::outcome::bad)
      throw failure(ending::input, from.source().name() + ": " + reader.problem());
    if (records_.empty())
      throw failure(ending::input, from.source().name() + ": expected a record, found nothing");
  }

  size_t count() const { return records_.size(); }
  const void *record(size_t i) const { return records_[i]; }
  const std::vector<uint8_t> &bytes(size_t i) const { return bytes_[i]; }
  double average_size() const {
    double sum = 0;
    for (const std::vector<uint8_t> &bytes : bytes_)
      sum += static_cast<double>(bytes.size());
    return sum / static_cast<double>(bytes_.size());
  }

private:
  void add(const void *record) {
    auto bytes = packed(message_, record);
    if (!bytes)
      throw failure(ending::input, "a record takes 4 GiB and more");
    records_.push_back(record);
    bytes_.push_back(std::move(*bytes));
  }

  const message_descriptor &message_;
  std::deque<random_message> made_;
  std::deque<decoded_record> read_;
  std::vector<const void *> records_;
  std::vector<std::vector<uint8_t>> bytes_;
};

// Nanoseconds a call of `run(i)`, i going through all of them: the middle one of several rounds.
template <class Run>
double measured(size_t count, double seconds, Run run) {
  constexpr size_t rounds = 7;
  std::vector<double> times;
  uint64_t repetitions = 1;
  while (times.size() < rounds) {
    const clock::time_point begin = clock::now();
    for (uint64_t r = 0; r < repetitions; r++)
      for (size_t i = 0; i < count; i++)
        run(i);
    const double took = std::chrono::duration<double>(clock::now() - begin).count();
    if (took < seconds / rounds / 2) {
      repetitions *= 2; // too short to be told from noise
      continue;
    }
    times.push_back(took * 1e9 / static_cast<double>(repetitions * count));
  }
  std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
  return times[rounds / 2];
}

} // namespace

ending bench(const bench_options &options, output &out) {
  const message_descriptor &message = *options.message;
  const material material(options);
  size_t largest = 0;
  for (size_t i = 0; i < material.count(); i++)
    largest = std::max(largest, material.bytes(i).size());
  std::vector<uint8_t> buffer(largest);
  std::vector<uint64_t> storage(message.record_size / sizeof(uint64_t) + 1);

  struct figure {
    const char *name;
    double nanoseconds;
    double bytes;
  };
  std::vector<figure> figures;
  figures.push_back({"pack",
                     measured(material.count(), options.seconds,
                              [&](size_t i) {
                                auto length = static_cast<uint32_t>(buffer.size());
                                message.pack(material.record(i), buffer.data(), &length);
                              }),
                     material.average_size()});
  figures.push_back({"unpack",
                     measured(material.count(), options.seconds,
                              [&](size_t i) {
                                const std::vector<uint8_t> &bytes = material.bytes(i);
                                message.unpack(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                               storage.data());
                                message.free_unpacked(storage.data());
                              }),
                     material.average_size()});
  if (message.shape == shape::flat) {
    std::vector<std::vector<uint8_t>> images;
    for (size_t i = 0; i < material.count(); i++)
      images.push_back(fixed_image(message, material.record(i)));
    figures.push_back({"unpack image",
                       measured(material.count(), options.seconds,
                                [&](size_t i) {
                                  message.unpack(images[i].data(),
                                                 static_cast<uint32_t>(images[i].size()),
                                                 storage.data());
                                }),
                       static_cast<double>(message.fixed_image_size)});
  }

  std::string text;
  if (!options.as_json)
    text = fmt::format("{}, {} record{}, {:.0f} bytes on average\n", message.name, material.count(),
                       material.count() == 1 ? "" : "s", material.average_size());
  for (const figure &each : figures)
    text +=
        options.as_json
            ? fmt::format("{{\"message\":\"{}\",\"operation\":\"{}\",\"records\":{},"
                          "\"bytes\":{:.1f},\"nanoseconds\":{:.1f}}}\n",
                          message.name, each.name, material.count(), each.bytes, each.nanoseconds)
            : fmt::format("{:<13}{:>10.1f} ns {:>10.2f} GB/s\n", each.name, each.nanoseconds,
                          each.bytes / each.nanoseconds);
  out.write(text);
  return ending::good;
}

} // namespace mesh_fib6::tools::cli
