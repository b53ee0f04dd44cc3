// Captures in the pcapng format (https://www.ietf.org/archive/id/draft-ietf-opsawg-pcapng-02.html):
// the messages in them, as libmesh_fib6_tap.so writes them (capture.h).
//
// Room: tools. Knows no message. Any bytes are survived.
#pragma once

#include "tools/byte_source.h"
#include "tools/capture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mesh_fib6::tools {

struct captured_message {
  uint64_t number; // of the packet, from 1, as analysers count
  uint64_t time;   // nanoseconds since 1970
  mesh_fib6_capture_header header;
  std::vector<uint8_t> bytes; // header.length of them, unless the capture has fewer
};

class pcapng_reader {
public:
  explicit pcapng_reader(byte_source &source) : source_(source) {}

  enum class outcome : uint8_t { message, end, bad };

  // Reads up to the next packet that holds a message; others are counted and passed by. After `bad`
  // nothing more can be read.
  outcome next(captured_message &message);

  uint64_t passed_by() const { return passed_by_; }
  // What the capture says was dropped when it was made.
  uint64_t dropped() const { return dropped_; }
  // "byte 120: expected ..., found ..."
  const std::string &problem() const { return problem_; }

private:
  struct interface {
    uint16_t link_type;
    uint64_t units; // of time, a second
  };

  uint16_t half(size_t at) const;
  uint32_t word(size_t at) const;
  uint64_t wide(size_t at) const;
  bool fail(const std::string &what);
  bool read_block(uint32_t &type);
  bool read_order();
  template <class Take>
  void read_options(size_t at, Take &&take) const;
  void read_interface();
  void read_statistics();
  bool read_packet(captured_message &message);

  byte_source &source_;
  bool is_big_ = false; // the section's numbers have their high byte first
  bool has_section_ = false;
  uint64_t at_ = 0;            // of the block
  std::vector<uint8_t> block_; // without its first eight bytes and its last four
  std::vector<interface> interfaces_;
  uint64_t number_ = 0, passed_by_ = 0, dropped_ = 0;
  std::string problem_;
};

} // namespace mesh_fib6::tools
