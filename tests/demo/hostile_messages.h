// Messages as no honest sender makes them: cut, with flipped bits, random.
//
// Room: tests. Includes the demo and the public headers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct encoded_message {
  uint32_t id;
  std::vector<uint8_t> bytes;
};

// One of each type that its programs agreed upon, numbered from 1, in the order in which a sender
// sends and deletes a table: next-hop groups first, the end of the deletion last.
std::vector<encoded_message> agreed_messages();

// Every beginning of the message, from nothing to all but its last byte.
std::vector<encoded_message> cut(const encoded_message &message);

// With each bit flipped in turn, and with each byte in turn replaced by zeros and by ones.
std::vector<encoded_message> flipped(const encoded_message &message);

// Of random length with random bytes, some of which replace a part of the message only. The same
// ones in every run.
std::vector<encoded_message> randomised(const encoded_message &message, size_t count);

// All of the above.
std::vector<encoded_message> hostile(const encoded_message &message);
