// The client registry. Clients are called when a device goes away, and to save and restore a device's state as JSON.
#include <algorithm>
#include <cstring>

#include <cjson/cJSON.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

auto find_client(Model& m, bf_drv_client_hdl handle) {
    return std::find_if(m.clients.begin(), m.clients.end(), [&](const Client& c) { return c.handle == handle; });
}

Client& registered_client(bf_drv_client_hdl handle) {
    const auto client = find_client(model(), handle);
    refuse_if(client == model().clients.end(), VL_MODEL_UNKNOWN_CLIENT);
    return *client;
}

// Calls one of a client's callbacks as it is registered now, unless the client has gone.
template <class Callback, class... Args>
pipe_status call_client(bf_drv_client_hdl handle, Callback bf_drv_client_callbacks::*which, Args... args) {
    Callback callback = nullptr;
    std::optional<RunningCall> running;
    {
        const auto m = lock_model();
        const auto client = find_client(*m, handle);
        if (client == m->clients.end() || client->callbacks.*which == nullptr) return VL_MODEL_OK;
        callback = client->callbacks.*which;
        running.emplace(client->registration);
    }
    return callback(args...);
}

// In the order of their priorities. A copy, since callbacks run without the mutex. Refuses an unknown device.
std::vector<Client> clients_for_device(pipe_dev_id dev_id) {
    const auto device = lock_device(dev_id);
    std::vector<Client> clients = model().clients;
    std::stable_sort(clients.begin(), clients.end(),
                     [](const Client& a, const Client& b) { return a.priority < b.priority; });
    return clients;
}

} // namespace

pipe_status bf_drv_register(const char* client_name, bf_drv_client_hdl* hdl) {
    return Boundary(__func__, client_name, hdl)([&] {
        const auto m = lock_model();
        // The device state log tells clients apart by name.
        const bool is_taken =
            std::any_of(m->clients.begin(), m->clients.end(), [&](const Client& c) { return c.name == client_name; });
        refuse_if(is_taken, VL_MODEL_EXISTS);
        m->clients.push_back({.handle = m->last_client + 1, .name = client_name});
        *hdl = ++m->last_client;
    });
}

pipe_status bf_drv_client_register_callbacks(bf_drv_client_hdl hdl, const bf_drv_client_callbacks* callbacks,
                                             uint32_t priority) {
    return Boundary(__func__, hdl, callbacks, priority)([&] {
        std::shared_ptr<Registration> registration = std::make_shared<Registration>();
        {
            const std::lock_guard lock(model().mutex);
            Client& client = registered_client(hdl);
            client.callbacks = *callbacks;
            client.priority = priority;
            client.registration.swap(registration);
        }
        end(registration);
    });
}

pipe_status bf_drv_deregister(bf_drv_client_hdl hdl) {
    return Boundary(__func__, hdl)([&] {
        std::shared_ptr<Registration> ended;
        {
            const auto m = lock_model();
            ended = std::move(registered_client(hdl).registration);
            m->clients.erase(find_client(*m, hdl));
        }
        end(ended);
    });
}

uint32_t vl_model_device_state_drop(uint32_t dev_id) {
    return guarded([&] {
        for (const Client& client : clients_for_device(dev_id))
            call_client(client.handle, &bf_drv_client_callbacks::device_remove, dev_id);
    });
}

uint32_t vl_model_device_remove(uint32_t dev_id) {
    if (const uint32_t status = vl_model_device_state_drop(dev_id)) return status;
    // Destroyed at the end: until end() has waited, a callback may look at its messages.
    std::unique_ptr<Device> device;
    {
        const auto m = lock_model();
        const auto found = m->devices.find(dev_id);
        if (found == m->devices.end()) return VL_MODEL_UNKNOWN_DEVICE;
        device = std::move(found->second);
        m->devices.erase(found);
        m->placements.remove_device(dev_id);
    }
    end_registrations(*device);
    return VL_MODEL_OK;
}

char* vl_model_state_log(uint32_t dev_id) {
    return guarded([&]() -> char* {
        const std::vector<Client> clients = clients_for_device(dev_id);
        const Json root(cJSON_CreateObject(), cJSON_Delete);
        if (root == nullptr) return nullptr;
        for (const Client& client : clients) {
            if (client.callbacks.state_log != nullptr) {
                cJSON* object = cJSON_AddObjectToObject(root.get(), client.name.c_str());
                if (object == nullptr) return nullptr;
                call_client(client.handle, &bf_drv_client_callbacks::state_log, dev_id, object);
            }
        }
        // The agent may have set another allocator for cJSON, but frees the text with free().
        char* printed = cJSON_PrintUnformatted(root.get());
        char* text = printed != nullptr ? strdup(printed) : nullptr;
        cJSON_free(printed);
        return text;
    });
}

uint32_t vl_model_state_restore(uint32_t dev_id, const char* json) {
    return guarded([&] {
        const Json root(json != nullptr ? cJSON_Parse(json) : nullptr, cJSON_Delete);
        refuse_if(root == nullptr || !cJSON_IsObject(root.get()), VL_MODEL_INVALID);
        pipe_status result = VL_MODEL_OK;
        for (const Client& client : clients_for_device(dev_id)) {
            cJSON* object = cJSON_GetObjectItemCaseSensitive(root.get(), client.name.c_str());
            if (client.callbacks.state_restore != nullptr && object != nullptr) {
                const pipe_status status =
                    call_client(client.handle, &bf_drv_client_callbacks::state_restore, dev_id, object);
                result = result != VL_MODEL_OK ? result : status;
            }
        }
        return result;
    });
}
