// Learning digests at the boundary, and packets that raise them.
#include "core/model.h"

#include <vl_model/traffic.h>

using namespace vl_model;

pipe_status pipe_mgr_lrn_digest_notification_register(pipe_sess_hdl sess_hdl, uint8_t dev_id,
                                                      pipe_digest_hdl digest_hdl, pipe_digest_cb callback,
                                                      void* cookie) {
    return Boundary(__func__, sess_hdl, dev_id, digest_hdl, callback, cookie)([&] {
        refuse_if(callback == nullptr, VL_MODEL_INVALID);
        const auto device = lock_device(sess_hdl, dev_id);
        Digest& digest = resource_in(device->digests, digest_hdl);
        refuse_if(digest.subscriber.callback != nullptr, VL_MODEL_EXISTS);
        digest.sess_hdl = sess_hdl;
        // There was none before.
        static_cast<void>(digest.subscriber.replace(callback, cookie));
    });
}

pipe_status pipe_mgr_lrn_digest_notification_deregister(pipe_sess_hdl sess_hdl, uint8_t dev_id,
                                                        pipe_digest_hdl digest_hdl) {
    return Boundary(__func__, sess_hdl, dev_id, digest_hdl)([&] {
        const auto ended = resource_in(lock_device(sess_hdl, dev_id)->digests, digest_hdl).subscriber.replace(nullptr);
        refuse_if(ended == nullptr, VL_MODEL_NOT_FOUND);
        end(ended);
    });
}

// The pointer may be anything, so it isn't followed.
pipe_status pipe_mgr_flow_lrn_notify_ack(pipe_sess_hdl sess_hdl, pipe_digest_hdl digest_hdl, pipe_digest_msg* msg) {
    return Boundary(__func__, sess_hdl, digest_hdl, nullable(msg))([&] {
        const auto m = lock_model();
        refuse_if(!m->sessions.contains(sess_hdl), VL_MODEL_UNKNOWN_SESSION);
        bool is_known = false;
        for (auto& [dev_id, device] : m->devices) {
            const auto digest = device->digests.find(digest_hdl);
            if (digest == device->digests.end()) continue;
            if (digest->second.messages.erase(msg) != 0) return;
            is_known = true;
        }
        refuse(is_known ? VL_MODEL_NOT_FOUND : VL_MODEL_UNKNOWN_RESOURCE);
    });
}

pipe_status pipe_mgr_flow_lrn_set_timeout(pipe_sess_hdl sess_hdl, uint8_t dev_id, uint32_t timeout) {
    return device_call(__func__, sess_hdl, dev_id, timeout)([&](Device& device) { device.learning_timeout = timeout; });
}

uint32_t vl_model_digest_raise(uint32_t dev_id, uint32_t digest_hdl, const uint8_t* entries, uint32_t count) {
    return guarded([&]() -> uint32_t {
        refuse_if(entries == nullptr || count == 0, VL_MODEL_INVALID);
        pipe_sess_hdl sess_hdl = 0;
        Subscriber<pipe_digest_cb> subscriber;
        std::optional<RunningCall> running;
        pipe_digest_msg* message = nullptr;
        {
            const auto device = lock_device(dev_id);
            Digest& digest = resource_in(device->digests, digest_hdl);
            refuse_if(digest.subscriber.callback == nullptr, VL_MODEL_NOT_FOUND);
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
        }
        return subscriber.callback(sess_hdl, message, subscriber.cookie);
    });
}

uint32_t vl_model_digest_unacked(uint32_t dev_id, uint32_t digest_hdl, uint32_t* count) {
    return guarded([&] {
        refuse_if(count == nullptr, VL_MODEL_INVALID);
        const auto device = lock_device(dev_id);
        *count = static_cast<uint32_t>(resource_in(device->digests, digest_hdl).messages.size());
    });
}

uint32_t vl_model_learning_timeout(uint32_t dev_id, uint32_t* timeout) {
    return guarded([&] {
        refuse_if(timeout == nullptr, VL_MODEL_INVALID);
        *timeout = lock_device(dev_id)->learning_timeout;
    });
}
