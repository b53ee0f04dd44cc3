// Makes the seeds of every target from the golden files of the tests.
//
// Room: attacks. Reads text, writes files; executes nothing. Seeds are made when they are needed
// and never kept in the repository: the golden files are, once.
#include "fuzz/messages.h"
#include "host/local_wire.h"
#include "tests/support/annotated.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr const char *usage =
    "usage: %s GOLDEN_FOLDER OUTPUT_FOLDER\n"
    "Writes OUTPUT_FOLDER/<target>/<message>-<image> for each image of each golden file.\n";

void write(const fs::path &path, const std::vector<uint8_t> &bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char *>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  if (!file.flush())
    throw std::runtime_error(path.string() + ": cannot be written");
}

// What follows the identifier in decode's input (decode.cpp): the byte order that the image is in.
uint8_t circumstances_of(std::string_view image) {
  if (image.ends_with("_swap_1"))
    return 5 << 1;
  if (image.ends_with("_swap_2"))
    return 6 << 1;
  return 0;
}

std::vector<uint8_t> joined(std::vector<uint8_t> head, const std::vector<uint8_t> &tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

std::vector<uint8_t> identifier_of(const fuzz::message_descriptor &message) {
  std::vector<uint8_t> bytes;
  for (uint32_t i = 0; i < fuzz::identifier_size; i++)
    bytes.push_back(static_cast<uint8_t>(message.id >> (8 * i)));
  return bytes;
}

// As tools/frame.h has it.
std::vector<uint8_t> frame_of(const std::vector<uint8_t> &identifier,
                              const std::vector<uint8_t> &bytes) {
  std::vector<uint8_t> frame = identifier;
  for (uint32_t i = 0; i < sizeof(uint32_t); i++)
    frame.push_back(static_cast<uint8_t>(bytes.size() >> (8 * i)));
  return joined(frame, bytes);
}

std::vector<uint8_t> digits_of(const std::vector<uint8_t> &bytes) {
  std::vector<uint8_t> digits;
  for (const uint8_t byte : bytes) {
    digits.push_back(static_cast<uint8_t>("0123456789abcdef"[byte / 16]));
    digits.push_back(static_cast<uint8_t>("0123456789abcdef"[byte % 16]));
  }
  return digits;
}

void append_datagram(std::vector<uint8_t> &to, const uint8_t *at, size_t size) {
  to.push_back(static_cast<uint8_t>(size));
  to.push_back(static_cast<uint8_t>(size >> 8));
  to.insert(to.end(), at, at + size);
}

// One message as a sender of the development host gives it to a socket.
std::vector<uint8_t> datagrams_of(uint32_t id, const std::vector<uint8_t> &bytes, bool in_pieces) {
  using namespace mesh_host;
  const msg_desc message{bytes.data(), id, static_cast<uint32_t>(bytes.size())};
  const packet_header header{7, 1, 1, 0, 0, 1, static_cast<uint32_t>(packed_size(&message, 1))};
  std::vector<uint8_t> packet(packet_header_size + header.bytes);
  write_packet(packet.data(), header, &message);
  std::vector<uint8_t> made;
  const size_t first = in_pieces ? packet_header_size + message_header_size : packet.size();
  append_datagram(made, packet.data(), first);
  if (in_pieces) {
    std::vector<uint8_t> piece(piece_header_size);
    write_piece(piece.data(), {static_cast<uint32_t>(first), header.first});
    piece.insert(piece.end(), packet.begin() + static_cast<ptrdiff_t>(first), packet.end());
    append_datagram(made, piece.data(), piece.size());
  }
  return made;
}

uint32_t make_seeds_of(const fuzz::message_descriptor &message, const fs::path &golden_folder,
                       const fs::path &output) {
  const std::vector<uint8_t> identifier = identifier_of(message);
  uint32_t count = 0;
  for (const annotated::image &image :
       annotated::load(golden_folder / (std::string(message.name) + ".txt"))) {
    const std::string file = std::string(message.name) + "-" + image.name;
    for (const char *target : {"decode", "explain"})
      write(output / target / file,
            joined(joined(identifier, {circumstances_of(image.name)}), image.bytes));
    write(output / "text" / (file + "-frame"), joined({2}, frame_of(identifier, image.bytes)));
    write(output / "text" / (file + "-dump"), joined({1}, digits_of(image.bytes)));
    for (const bool in_pieces : {false, true})
      write(output / "packets" / (file + (in_pieces ? "-pieces" : "-packet")),
            datagrams_of(message.id, image.bytes, in_pieces));
    write(output / "visited" / file, joined(joined(identifier, {0}), image.bytes));
    // To the others the bytes are material that records, mutations and answers are made from.
    for (const char *target : {"mutated", "round_trip", "sends"})
      write(output / target / file, joined(identifier, image.bytes));
    count++;
  }
  return count;
}

int run(const fs::path &golden_folder, const fs::path &output) {
  uint32_t images = 0;
  mesh_fib6::tools::for_each_message([&](const fuzz::message_descriptor &message) {
    images += make_seeds_of(message, golden_folder, output);
  });
  printf("%u images of %u messages\n", images, fuzz::message_count);
  return 0;
}

} // namespace

int main(int argc, char **argv) {
  const bool help = argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0);
  if (argc != 3) {
    fprintf(help ? stdout : stderr, usage, argv[0]);
    return help ? 0 : 2;
  }
  try {
    return run(argv[1], argv[2]);
  } catch (const std::exception &failure) {
    fprintf(stderr, "make_seeds: %s\n", failure.what());
    return 1;
  }
}
