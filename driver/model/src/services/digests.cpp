// Learning digests at the boundary, and the packets that raise them.
#include "core/boundary.h"
#include "core/model.h"

#include <vl_model/traffic.h>

using namespace vl_model;

namespace {

template <class Body>
pipe_status with_digest(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_digest_hdl digest_hdl, Body&& body) {
    return with_device(sess_hdl, dev_id, [&](Device& device) { return on_resource(device.digests, digest_hdl, body); });
}

// For those who have no session.
template <class Body>
pipe_status on_digest(pipe_dev_id dev_id, pipe_digest_hdl digest_hdl, Body&& body) {
    const std::lock_guard lock(model().mutex);
    pipe_status status = VL_MODEL_OK;
    Device* device = find_device(dev_id, status);
    return device == nullptr ? status : on_resource(device->digests, digest_hdl, body);
}

} // namespace

pipe_status pipe_mgr_lrn_digest_notification_register(pipe_sess_hdl sess_hdl, uint8_t dev_id,
                                                      pipe_digest_hdl digest_hdl, pipe_digest_cb callback,
                                                      void* cookie) {
    const auto body = [&]() -> pipe_status {
        if (callback == nullptr) return VL_MODEL_INVALID;
        return with_digest(sess_hdl, dev_id, digest_hdl, [&](Digest& digest) -> pipe_status {
            if (digest.subscriber.callback != nullptr) return VL_MODEL_EXISTS;
            digest.sess_hdl = sess_hdl;
            // It replaces none.
            static_cast<void>(digest.subscriber.replace(callback, cookie));
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_lrn_digest_notification_register", body, sess_hdl, dev_id, digest_hdl, callback, cookie);
}

pipe_status pipe_mgr_lrn_digest_notification_deregister(pipe_sess_hdl sess_hdl, uint8_t dev_id,
                                                        pipe_digest_hdl digest_hdl) {
    const auto body = [&]() -> pipe_status {
        std::shared_ptr<Registration> ended;
        const pipe_status status = with_digest(sess_hdl, dev_id, digest_hdl, [&](Digest& digest) -> pipe_status {
            ended = digest.subscriber.replace(nullptr);
            return ended == nullptr ? VL_MODEL_NOT_FOUND : VL_MODEL_OK;
        });
        end(ended);
        return status;
    };
    return boundary("pipe_mgr_lrn_digest_notification_deregister", body, sess_hdl, dev_id, digest_hdl);
}

pipe_status pipe_mgr_flow_lrn_notify_ack(pipe_sess_hdl sess_hdl, pipe_digest_hdl digest_hdl, pipe_digest_msg* msg) {
    // The message isn't looked into, since it may not be one.
    const auto body = [&]() -> pipe_status {
        Model& m = model();
        const std::lock_guard lock(m.mutex);
        if (!m.sessions.contains(sess_hdl)) return VL_MODEL_UNKNOWN_SESSION;
        pipe_status status = VL_MODEL_UNKNOWN_RESOURCE;
        for (auto& [dev_id, device] : m.devices) {
            const auto digest = device->digests.find(digest_hdl);
            if (digest != device->digests.end()) {
                if (digest->second.messages.erase(msg) != 0) return VL_MODEL_OK;
                status = VL_MODEL_NOT_FOUND;
            }
        }
        return status;
    };
    return boundary("pipe_mgr_flow_lrn_notify_ack", body, sess_hdl, digest_hdl, msg);
}

pipe_status pipe_mgr_flow_lrn_set_timeout(pipe_sess_hdl sess_hdl, uint8_t dev_id, uint32_t timeout) {
    const auto body = [&]() -> pipe_status {
        return with_device(sess_hdl, dev_id, [&](Device& device) -> pipe_status {
            device.learning_timeout = timeout;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_flow_lrn_set_timeout", body, sess_hdl, dev_id, timeout);
}

uint32_t vl_model_digest_raise(uint32_t dev_id, uint32_t digest_hdl, const uint8_t* entries, uint32_t count) {
    const auto body = [&]() -> pipe_status {
        if (entries == nullptr || count == 0) return VL_MODEL_INVALID;
        pipe_sess_hdl sess_hdl = 0;
        Subscriber<pipe_digest_cb> subscriber;
        std::optional<RunningCall> running;
        pipe_digest_msg* message = nullptr;
        const pipe_status status = on_digest(dev_id, digest_hdl, [&](Digest& digest) -> pipe_status {
            if (digest.subscriber.callback == nullptr) return VL_MODEL_NOT_FOUND;
            auto raised = std::make_unique<DigestMessage>();
            raised->entries.assign(entries, entries + size_t{count} * digest.entry_size);
            raised->message.dev_tgt = all_pipes(dev_id);
            raised->message.entry_count = count;
            raised->message.entries = raised->entries.data();
            message = &raised->message;
            digest.messages.emplace(message, std::move(raised));
            sess_hdl = digest.sess_hdl;
            subscriber = digest.subscriber;
            running.emplace(subscriber.registration);
            return VL_MODEL_OK;
        });
        return status == VL_MODEL_OK ? subscriber.callback(sess_hdl, message, subscriber.cookie) : status;
    };
    return run_guarded(body);
}

uint32_t vl_model_digest_unacked(uint32_t dev_id, uint32_t digest_hdl, uint32_t* count) {
    if (count == nullptr) return VL_MODEL_INVALID;
    return on_digest(dev_id, digest_hdl, [&](const Digest& digest) -> pipe_status {
        *count = static_cast<uint32_t>(digest.messages.size());
        return VL_MODEL_OK;
    });
}

uint32_t vl_model_learning_timeout(uint32_t dev_id, uint32_t* timeout) {
    if (timeout == nullptr) return VL_MODEL_INVALID;
    const std::lock_guard lock(model().mutex);
    pipe_status status = VL_MODEL_OK;
    if (const Device* device = find_device(dev_id, status)) *timeout = device->learning_timeout;
    return status;
}
