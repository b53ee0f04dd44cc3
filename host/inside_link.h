// The way inside a process: packets go into the receiver's inbox.
//
// Room: host. Standard library.
#pragma once

#include "host/inbox.h"
#include "host/link.h"

#include <memory>

namespace mesh_host {

std::unique_ptr<link> make_inside_link(std::shared_ptr<inbox> to, uint64_t base);

} // namespace mesh_host
