// The way through NATS: sending.
//
// Room: host. The NATS client library.
#pragma once

#include "host/link.h"
#include "host/settings.h"

#include <cstdint>
#include <memory>

namespace mesh_host {

uint32_t make_nats_link(const settings &limits, const place &at, uint32_t destination,
                        uint64_t base, std::unique_ptr<link> &made);

} // namespace mesh_host
