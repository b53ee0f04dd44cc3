// Whether the items of an image mean what they say: the meaning column of the golden files, checked
// by walking the bytes once more.
//
// Room: tests. Knows the FlatBuffers format (https://flatbuffers.dev/internals/), descriptors for
// the types behind a table's slots, and nothing of the library's codec.
#pragma once

#include "tests/support/annotated.h"
#include "tools/descriptors.h"

#include <string>
#include <vector>

namespace meanings {

// "path:line: ..." for every item that says something else than its bytes, and for whatever an
// image may not be: bytes that nothing accounts for, or two things at once, or an offset that leads
// out of it. Empty when the image is as it should be.
std::vector<std::string> complaints(const mesh_fib6::tools::table_descriptor &root,
                                    const std::string &path, const annotated::image &image);

} // namespace meanings
