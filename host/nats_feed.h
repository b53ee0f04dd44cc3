// The way through NATS: receiving.
//
// Room: host. The NATS client library.
#pragma once

#include "host/way.h"

namespace mesh_host {

uint32_t make_nats_feed(const settings &limits, const place &at, uint32_t destination,
                        std::shared_ptr<parcel_sink> into, std::unique_ptr<feed> &made);

} // namespace mesh_host
