// The client registry, and what the driver tells its clients: a device goes away, a device's state as JSON, and back.
#include <algorithm>
#include <cstring>

#include <cjson/cJSON.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

struct FreeJson {
    void operator()(cJSON* json) const {
        cJSON_Delete(json);
    }
};

using Json = std::unique_ptr<cJSON, FreeJson>;

auto find_client(Model& m, bf_drv_client_hdl handle) {
    return std::find_if(m.clients.begin(), m.clients.end(), [&](const Client& c) { return c.handle == handle; });
}

// Calls one of a client's callbacks, as it is registered now. Nobody is called if the client has gone.
template <class Callback, class... Args>
pipe_status call_client(bf_drv_client_hdl handle, Callback bf_drv_client_callbacks::*which, Args... args) {
    Callback callback = nullptr;
    std::optional<RunningCall> running;
    {
        Model& m = model();
        const std::lock_guard lock(m.mutex);
        const auto client = find_client(m, handle);
        if (client == m.clients.end() || client->callbacks.*which == nullptr) return VL_MODEL_OK;
        callback = client->callbacks.*which;
        running.emplace(client->registration);
    }
    return callback(args...);
}

// A copy, since callbacks run without the mutex; nothing if the device is unknown.
std::optional<std::vector<Client>> clients_for_device(pipe_dev_id dev_id) {
    Model& m = model();
    const std::lock_guard lock(m.mutex);
    if (!m.devices.contains(dev_id)) return std::nullopt;
    std::vector<Client> clients = m.clients;
    std::stable_sort(clients.begin(), clients.end(),
                     [](const Client& a, const Client& b) { return a.priority < b.priority; });
    return clients;
}

} // namespace

pipe_status bf_drv_register(const char* client_name, bf_drv_client_hdl* hdl) {
    const auto body = [&]() -> pipe_status {
        if (client_name == nullptr || hdl == nullptr) return VL_MODEL_INVALID;
        Model& m = model();
        const std::lock_guard lock(m.mutex);
        // The device state log tells clients apart by name.
        if (std::any_of(m.clients.begin(), m.clients.end(), [&](const Client& c) { return c.name == client_name; }))
            return VL_MODEL_EXISTS;
        m.clients.push_back({.handle = m.last_client + 1,
                             .name = client_name,
                             .callbacks = {},
                             .registration = nullptr,
                             .priority = 0});
        *hdl = ++m.last_client;
        return VL_MODEL_OK;
    };
    return boundary("bf_drv_register", body, client_name, hdl);
}

pipe_status bf_drv_client_register_callbacks(bf_drv_client_hdl hdl, const bf_drv_client_callbacks* callbacks,
                                             uint32_t priority) {
    const auto body = [&]() -> pipe_status {
        if (callbacks == nullptr) return VL_MODEL_INVALID;
        std::shared_ptr<Registration> registration = std::make_shared<Registration>();
        {
            Model& m = model();
            const std::lock_guard lock(m.mutex);
            const auto client = find_client(m, hdl);
            if (client == m.clients.end()) return VL_MODEL_UNKNOWN_CLIENT;
            client->callbacks = *callbacks;
            client->priority = priority;
            client->registration.swap(registration);
        }
        end(registration);
        return VL_MODEL_OK;
    };
    return boundary("bf_drv_client_register_callbacks", body, hdl, callbacks, priority);
}

pipe_status bf_drv_deregister(bf_drv_client_hdl hdl) {
    const auto body = [&]() -> pipe_status {
        std::shared_ptr<Registration> ended;
        {
            Model& m = model();
            const std::lock_guard lock(m.mutex);
            const auto client = find_client(m, hdl);
            if (client == m.clients.end()) return VL_MODEL_UNKNOWN_CLIENT;
            ended = std::move(client->registration);
            m.clients.erase(client);
        }
        end(ended);
        return VL_MODEL_OK;
    };
    return boundary("bf_drv_deregister", body, hdl);
}

uint32_t vl_model_device_state_drop(uint32_t dev_id) {
    const auto body = [&]() -> pipe_status {
        const std::optional<std::vector<Client>> clients = clients_for_device(dev_id);
        if (!clients) return VL_MODEL_UNKNOWN_DEVICE;
        for (const Client& client : *clients)
            call_client(client.handle, &bf_drv_client_callbacks::device_remove, dev_id);
        return VL_MODEL_OK;
    };
    return run_guarded(body);
}

uint32_t vl_model_device_remove(uint32_t dev_id) {
    if (const uint32_t status = vl_model_device_state_drop(dev_id)) return status;
    // Destroyed at the end: until end() has waited, a callback may look at its messages.
    std::unique_ptr<Device> device;
    {
        Model& m = model();
        const std::lock_guard lock(m.mutex);
        const auto found = m.devices.find(dev_id);
        if (found == m.devices.end()) return VL_MODEL_UNKNOWN_DEVICE;
        device = std::move(found->second);
        m.devices.erase(found);
        m.placements.remove_device(dev_id);
    }
    end_registrations(*device);
    return VL_MODEL_OK;
}

char* vl_model_state_log(uint32_t dev_id) {
    const auto body = [&]() -> char* {
        const std::optional<std::vector<Client>> clients = clients_for_device(dev_id);
        const Json root(cJSON_CreateObject());
        if (!clients || root == nullptr) return nullptr;
        for (const Client& client : *clients) {
            if (client.callbacks.state_log != nullptr) {
                cJSON* object = cJSON_AddObjectToObject(root.get(), client.name.c_str());
                if (object == nullptr) return nullptr;
                call_client(client.handle, &bf_drv_client_callbacks::state_log, dev_id, object);
            }
        }
        // The agent may have given cJSON an allocator of its own, but frees the text with free().
        char* printed = cJSON_PrintUnformatted(root.get());
        char* text = printed != nullptr ? strdup(printed) : nullptr;
        cJSON_free(printed);
        return text;
    };
    return run_guarded(body);
}

uint32_t vl_model_state_restore(uint32_t dev_id, const char* json) {
    const auto body = [&]() -> pipe_status {
        const Json root(json != nullptr ? cJSON_Parse(json) : nullptr);
        if (root == nullptr || !cJSON_IsObject(root.get())) return VL_MODEL_INVALID;
        const std::optional<std::vector<Client>> clients = clients_for_device(dev_id);
        if (!clients) return VL_MODEL_UNKNOWN_DEVICE;
        pipe_status result = VL_MODEL_OK;
        for (const Client& client : *clients) {
            cJSON* object = cJSON_GetObjectItemCaseSensitive(root.get(), client.name.c_str());
            if (client.callbacks.state_restore != nullptr && object != nullptr) {
                const pipe_status status =
                    call_client(client.handle, &bf_drv_client_callbacks::state_restore, dev_id, object);
                result = result != VL_MODEL_OK ? result : status;
            }
        }
        return result;
    };
    return run_guarded(body);
}
