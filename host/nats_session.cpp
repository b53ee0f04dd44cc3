// Connecting to NATS servers.
//
// Room: host.
#include "host/nats_session.h"

#include "host/mesh_host.h"
#include "host/tell.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <vector>

namespace mesh_host {
namespace {

constexpr int64_t connect_timeout_ms = 2000;
constexpr int64_t request_timeout_ms = 2000;
constexpr int64_t reconnect_wait_ms = 100;
constexpr int64_t ping_interval_ms = 2000; // so that a server behind a cut link is noticed
constexpr int pings_unanswered = 2;
constexpr int most_looks = 25; // at a stream that is being made
constexpr std::chrono::milliseconds look_again_after(20);

rate_limit complaints, troubles;

// What the client library notices in threads of its own: a permission that is missing, above all.
void tell_problem(natsConnection *, natsSubscription *, natsStatus status, void *) {
  if (uint64_t skipped = 0; complaints.pass(skipped))
    tell("nats: %s (%llu more not told)", natsStatus_GetText(status), number(skipped));
}

std::vector<std::string> split(const std::string &text) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, ',');)
    parts.push_back(part);
  return parts;
}

bool is_absence(natsStatus status) {
  return status == NATS_NO_SERVER || status == NATS_TIMEOUT || status == NATS_IO_ERROR ||
         status == NATS_CONNECTION_CLOSED || status == NATS_CONNECTION_DISCONNECTED ||
         status == NATS_NO_RESPONDERS || status == NATS_STALE_CONNECTION;
}

// The server is there, and the cluster that it belongs to cannot say yet who decides, or has too
// few servers for so many replicas just now.
bool is_undecided(jsErrCode error) {
  return error == JSClusterNotAvailErr || error == JSClusterNotLeaderErr ||
         error == JSClusterNoPeersErr || error == JSStreamOfflineErr;
}

// The server keeps room for all that a stream may hold, and has not so much left.
bool is_shortage(jsErrCode error) {
  return error == JSMemoryResourcesExceededErr || error == JSStorageResourcesExceededErr ||
         error == JSInsufficientResourcesErr || error == JSAccountResourcesExceededErr;
}

} // namespace

std::string reason(natsStatus status) {
  natsStatus last = NATS_OK;
  const char *text = nats_GetLastError(&last);
  std::string said = natsStatus_GetText(status);
  if (last == status && text != nullptr && *text != '\0')
    said += std::string(" (") + text + ")";
  return said;
}

uint32_t nats_session::open(const settings &, const place &at, uint32_t destination,
                            jsOptions &options) {
  at_ = &at;
  destination_ = destination;
  natsOptions *made = nullptr;
  natsStatus status = natsOptions_Create(&made);
  const nats_object<natsOptions> wanted(made);
  const std::vector<std::string> servers = split(at.servers);
  std::vector<const char *> urls;
  urls.reserve(servers.size());
  for (const std::string &server : servers)
    urls.push_back(server.c_str());
  const std::string name = "mesh_host " + std::to_string(getpid());
  if (status == NATS_OK)
    status = natsOptions_SetServers(made, urls.data(), static_cast<int>(urls.size()));
  if (status == NATS_OK) {
    natsOptions_SetName(made, name.c_str());
    natsOptions_SetTimeout(made, connect_timeout_ms);
    natsOptions_SetMaxReconnect(made, -1); // whoever waits has a deadline of his own
    natsOptions_SetReconnectWait(made, reconnect_wait_ms);
    natsOptions_SetPingInterval(made, ping_interval_ms);
    natsOptions_SetMaxPingsOut(made, pings_unanswered);
    natsOptions_SetFailRequestsOnDisconnect(made, true);
    natsOptions_SetErrorHandler(made, tell_problem, nullptr);
    natsOptions_SetCustomInboxPrefix(made, at.inbox.c_str());
    if (const uint32_t result = set_identity(made); result != MESH_HOST_OK)
      return result;
    natsConnection *connected = nullptr;
    status = natsConnection_Connect(&connected, made);
    connection_.reset(connected);
  }
  options.Wait = request_timeout_ms;
  jsCtx *context = nullptr;
  if (status == NATS_OK)
    status = natsConnection_JetStream(&context, connection_.get(), &options);
  stream_.reset(context);
  if (status == NATS_OK)
    return MESH_HOST_OK;
  if (is_absence(status))
    return MESH_HOST_NO_RECEIVER;
  tell("destination %u: %s: %s", destination, at.servers.c_str(), reason(status).c_str());
  return MESH_HOST_BAD_CONFIG;
}

uint32_t nats_session::set_identity(natsOptions *options) {
  natsStatus status = NATS_OK;
  const char *what = "";
  if (!at_->user.empty()) {
    std::ifstream file(at_->password_file);
    std::string password;
    if (!std::getline(file, password) || password.empty()) {
      tell("destination %u: %s: expected a password in its first line", destination_,
           at_->password_file.c_str());
      return MESH_HOST_BAD_CONFIG;
    }
    status = natsOptions_SetUserInfo(options, at_->user.c_str(), password.c_str());
  }
  const bool secure = !at_->authority.empty() || !at_->certificate.empty();
  if (status == NATS_OK && !at_->credentials.empty()) {
    what = at_->credentials.c_str();
    status = natsOptions_SetUserCredentialsFromFiles(options, what, nullptr);
  }
  if (status == NATS_OK && secure)
    status = natsOptions_SetSecure(options, true);
  if (status == NATS_OK && !at_->authority.empty()) {
    what = at_->authority.c_str();
    status = natsOptions_LoadCATrustedCertificates(options, what);
  }
  if (status == NATS_OK && !at_->certificate.empty()) {
    what = at_->certificate.c_str();
    status = natsOptions_LoadCertificatesChain(options, what, at_->key.c_str());
  }
  if (status == NATS_OK)
    return MESH_HOST_OK;
  tell("destination %u: %s: %s", destination_, what, reason(status).c_str());
  return MESH_HOST_BAD_CONFIG;
}

uint32_t nats_session::ensure_stream(int64_t &made_at) {
  const std::string name = stream_name(destination_);
  const std::string subject = subject_name(destination_);
  const char *subjects[] = {subject.c_str()};
  jsStreamConfig wanted;
  jsStreamConfig_Init(&wanted);
  wanted.Name = name.c_str();
  wanted.Subjects = subjects;
  wanted.SubjectsLen = 1;
  wanted.Retention = js_WorkQueuePolicy;
  wanted.Discard = js_DiscardNew;
  wanted.Storage = at_->on_disk ? js_FileStorage : js_MemoryStorage;
  wanted.Replicas = at_->replicas;
  // Senders keep to what is configured (nats_link.cpp); the server's own limits are for those that
  // do not.
  constexpr int64_t most_batches_beyond = 4096;
  wanted.MaxMsgs = static_cast<int64_t>(at_->kept_batches) + most_batches_beyond;
  wanted.MaxBytes = 2 * static_cast<int64_t>(at_->kept_bytes) + (int64_t{16} << 20);

  // One that is there already is used as it is, however whoever made it wanted it. While several
  // make it, the server may have room for its name or subject no more and not have it yet, and
  // answers each of them as if the stream were his: when it was made, one asks when it is there.
  jsStreamInfo *info = nullptr;
  jsErrCode error = jsErrCode(0);
  natsStatus status = NATS_OK;
  for (int looked = 0; looked < most_looks; looked++) {
    status = js_GetStreamInfo(&info, stream_.get(), name.c_str(), nullptr, &error);
    if (status != NATS_NOT_FOUND && error != JSStreamNotFoundErr)
      break;
    status = js_AddStream(nullptr, stream_.get(), &wanted, nullptr, &error);
    const bool is_elsewhere = error == JSStreamSubjectOverlapErr || error == JSStreamNameExistErr;
    if (status != NATS_OK && !is_elsewhere)
      break;
    if (is_elsewhere)
      std::this_thread::sleep_for(look_again_after);
  }
  const nats_object<jsStreamInfo> held(info);
  if (info != nullptr) {
    made_at = info->Created;
    return MESH_HOST_OK;
  }
  if (is_absence(status) && error == jsErrCode(0))
    return MESH_HOST_NO_RECEIVER;
  const bool passes = is_undecided(error) || is_shortage(error); // and is tried again
  if (uint64_t skipped = 0; !passes || troubles.pass(skipped))
    tell("destination %u: stream %s at %s: %s (%llu more not told)", destination_, name.c_str(),
         at_->servers.c_str(), reason(status).c_str(), number(skipped));
  if (is_undecided(error))
    return MESH_HOST_NO_RECEIVER;
  return is_shortage(error) ? MESH_HOST_FULL : MESH_HOST_SYSTEM;
}

bool nats_session::is_connected() const {
  return natsConnection_Status(connection_.get()) == NATS_CONN_STATUS_CONNECTED;
}

bool nats_session::is_closed() const {
  return natsConnection_Status(connection_.get()) == NATS_CONN_STATUS_CLOSED;
}

} // namespace mesh_host
