// See checker.h.
#include "watch/checker.h"

#include <algorithm>
#include <cerrno>
#include <map>

#include "watch/layer.h"
#include "watch/report.h"

namespace pd_watch {
namespace {

Checker* the_checker = nullptr;

// The driver gives these callbacks no cookie, so each client has functions of its own.
constexpr size_t most_clients = 8;
size_t clients_seen = 0;
std::atomic<bf_drv_device_cb> removals[most_clients];
std::atomic<bf_drv_state_cb> restores[most_clients];

// In a callback the driver must not meet an exception, nor the agent another errno.
template <class Look>
void safely(Look&& look) noexcept {
    const int error = errno;
    try {
        look();
    } catch (const std::exception& fault) {
        tell_fault(std::string("a callback was not watched: ") + fault.what());
    }
    errno = error;
}

template <size_t i>
pipe_status on_remove(pipe_dev_id device) {
    const bf_drv_device_cb callback = removals[i];
    const pipe_status status = callback != nullptr ? callback(device) : 0;
    safely([&] { the_checker->device_removed(device); });
    return status;
}

template <size_t i>
pipe_status on_restore(pipe_dev_id device, cJSON* object) {
    safely([&] { the_checker->device_restored(device); });
    const bf_drv_state_cb callback = restores[i];
    return callback != nullptr ? callback(device, object) : 0;
}

template <size_t... i>
constexpr auto client_callbacks(std::index_sequence<i...>) {
    return std::array{std::pair<bf_drv_device_cb, bf_drv_state_cb>{on_remove<i>, on_restore<i>}...};
}

constexpr auto own_callbacks = client_callbacks(std::make_index_sequence<most_clients>());

} // namespace

// One registration of a digest: what the driver gets as the cookie.
struct Checker::Digests {
    Checker* checker;
    uint32_t device;
    uint32_t digest;
    pipe_digest_cb callback;
    void* cookie;

    static pipe_status comes(pipe_sess_hdl session, pipe_digest_msg* message, void* own) {
        const auto& registration = *static_cast<const Digests*>(own);
        safely([&] { registration.checker->digest_comes(registration, message); });
        return registration.callback(session, message, registration.cookie);
    }
};

Checker::Checker(const Pipeline& pipeline, const CheckOptions& options)
    : pipeline_(pipeline),
      strict_(options.strict),
      leftovers_(options.leftovers),
      teller_(options.as_json, options.kinds_off, options.tables),
      values_(pipeline),
      handles_(pipeline, values_) {
    the_checker = this;
}

Checker::~Checker() = default;

void Checker::begins(const Call& call, uint32_t thread) {
    const Plan& plan = plan_of(call);
    if (plan.deed < Deed::add_member) return;
    const View view(pipeline_, call, thread);
    if (view.table == nullptr) return;
    uint32_t other = 0;
    {
        const std::lock_guard lock(mutex_);
        for (const Change& change : changes_)
            if (change.device == view.device && change.profile == view.table->data_table && change.thread != thread)
                other = change.thread;
        changes_.push_back({view.device, view.table->data_table, thread});
    }
    if (other != 0)
        teller_.tell({MistakeKind::profile_race, view.table, nullptr, "", "another thread is changing the profile",
                      "thread " + std::to_string(other)},
                     &call, thread);
}

void Checker::replace_callback(Call& call) {
    const auto callback = call.words[position_of(*call.function, Kind::callback)];
    if (callback == 0) return;
    if (plan_of(call).deed == Deed::set_client_callbacks) {
        static thread_local bf_drv_client_callbacks own;
        own = *reinterpret_cast<const bf_drv_client_callbacks*>(callback);
        const std::lock_guard lock(mutex_);
        size_t client = 0; // one that was registered before, or a new one
        while (client < clients_seen &&
               (removals[client] != own.device_remove || restores[client] != own.state_restore))
            ++client;
        if (client == most_clients) return;
        clients_seen = std::max(clients_seen, client + 1);
        removals[client] = own.device_remove;
        restores[client] = own.state_restore;
        own.device_remove = own_callbacks[client].first;
        if (own.state_restore != nullptr) own.state_restore = own_callbacks[client].second;
        call.callback_instead = reinterpret_cast<uintptr_t>(&own);
    } else if (plan_of(call).deed == Deed::register_digest) {
        const View view(pipeline_, call, 0);
        const Digests wanted = {this, view.device, view.number(view.plan.table),
                                reinterpret_cast<pipe_digest_cb>(callback),
                                pointer_at<void>(call, position_of(*call.function, Kind::cookie))};
        const std::lock_guard lock(mutex_);
        // They are never freed: an ended registration's callback may still run.
        const Digests* own = nullptr;
        for (const auto& each : registrations_)
            if (each->device == wanted.device && each->digest == wanted.digest && each->callback == wanted.callback &&
                each->cookie == wanted.cookie)
                own = each.get();
        if (own == nullptr) own = registrations_.emplace_back(std::make_unique<Digests>(wanted)).get();
        call.callback_instead = reinterpret_cast<uintptr_t>(&Digests::comes);
        call.cookie_instead = reinterpret_cast<uintptr_t>(own);
    }
}

void Checker::digest_comes(const Digests& registration, const void* message) {
    const std::lock_guard lock(mutex_);
    messages_[message] = {registration.digest, reinterpret_cast<const void*>(registration.callback)};
}

// The device may stay: the driver also says so when it only drops the clients' states.
void Checker::device_removed(uint32_t device) {
    const std::lock_guard lock(mutex_);
    handles_.doubt(device);
    removed_.insert(device);
    has_removed_ = true;
}

void Checker::device_restored(uint32_t device) {
    const std::lock_guard lock(mutex_);
    removed_.erase(device);
}

// Asks the driver, in the session of the call.
bool Checker::has_device(const Call& call, uint32_t device) const {
    static const auto count =
        reinterpret_cast<decltype(&pipe_mgr_get_entry_count)>(next_function("pipe_mgr_get_entry_count"));
    uint32_t entries = 0;
    const uint32_t table = catalog::tables(catalog::program)[0].handle;
    return count(static_cast<uint32_t>(call.words[plan_of(call).session]), {device, PIPE_ALL_PIPES, 0}, table, 0,
                 &entries) == 0;
}

void Checker::check_values(const View& view, Findings& findings) const {
    if (view.table == nullptr) return;
    const Deed deed = view.plan.deed;
    if (const auto* const match = view.match())
        values_.check_key(*view.table, *match, deed == Deed::add_entry, findings);
    if (const auto* const data = view.data()) {
        using Use = Values::Use;
        const Use use = deed == Deed::set_default                                 ? Use::default_entry
                        : deed == Deed::add_member || deed == Deed::change_member ? Use::member
                                                                                  : Use::entry;
        values_.check_action(*view.table, view.number(view.plan.action), *data, use, deed == Deed::add_entry, findings);
    }
}

void Checker::ended(const Call& call, uint32_t thread) {
    calls_.fetch_add(1, std::memory_order_relaxed);
    const View view(pipeline_, call, thread);
    const Deed deed = view.plan.deed;
    const bool is_refused = call.status != 0;
    Findings findings;
    if (deed == Deed::add_client) {
        if (!is_refused) ++clients_, had_client_ = true;
    } else if (deed == Deed::delete_client) {
        if (!is_refused && clients_ != 0) --clients_;
    } else if (clients_ == 0 && deed != Deed::set_client_callbacks) {
        if (had_client_)
            findings.push_back(
                {MistakeKind::after_cleanup, view.table, nullptr, "", "the library was cleaned up before", ""});
        else
            findings.push_back(
                {MistakeKind::before_init, view.table, nullptr, "", "the library's init wasn't called", ""});
    }
    bool is_gone = false;
    if (has_removed_ && view.has_device) {
        {
            const std::lock_guard lock(mutex_);
            const auto removed = removed_.find(view.device);
            is_gone = removed != removed_.end();
            if (is_gone && !is_refused) removed_.erase(removed);
            has_removed_ = !removed_.empty();
        }
        const bool is_doubtful = is_gone && is_refused && view.has(view.plan.session);
        is_gone = is_doubtful && !has_device(call, view.device);
        if (is_gone)
            findings.push_back({MistakeKind::gone_device, view.table, nullptr, "", "the device was removed",
                                "device " + std::to_string(view.device)});
        else if (is_doubtful)
            device_restored(view.device);
    }
    check_values(view, findings);
    {
        const std::lock_guard lock(mutex_);
        if (deed >= Deed::add_member && view.table != nullptr) {
            const auto own = std::ranges::find_if(changes_, [&](const Change& change) {
                return change.device == view.device && change.profile == view.table->data_table &&
                       change.thread == thread;
            });
            if (own != changes_.end()) changes_.erase(own);
        }
        if (deed == Deed::acknowledge && !is_refused)
            messages_.erase(pointer_at<const void>(call, position_of(*call.function, Kind::pointer)));
        if (!is_gone) handles_.check(view, findings);
        handles_.note(view, findings);
    }
    bool is_explained = false;
    for (const Finding& finding : findings) {
        is_explained |= teller_.tells(finding.kind);
        teller_.tell(finding, &call, thread);
    }
    if (is_refused && !is_explained) teller_.tell_refusal(call, thread, view.table);
}

void Checker::finish() {
    // By digest and callback.
    std::map<std::pair<uint32_t, const void*>, uint64_t> unacknowledged;
    std::vector<Finding> leftovers;
    {
        const std::lock_guard lock(mutex_);
        if (leftovers_) leftovers = handles_.leftovers();
        for (const auto& [message, each] : messages_)
            ++unacknowledged[{each.digest, each.callback}];
    }
    for (const auto& [place, count] : unacknowledged)
        teller_.tell({MistakeKind::unacknowledged, pipeline_.table(place.first), nullptr, "",
                      "digest messages were never acknowledged", std::to_string(count)},
                     nullptr, 0, place.second);
    for (const Finding& finding : leftovers)
        teller_.tell(finding, nullptr, 0);
    teller_.finish(calls_);
}

int Checker::exit_status() const {
    return strict_ && teller_.saw_mistake() ? 3 : 0;
}

} // namespace pd_watch
