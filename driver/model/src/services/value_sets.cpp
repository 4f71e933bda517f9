// Parser value sets at the boundary. Gress, pipe and parser are numbers that are compared: PIPE_ALL_PIPES is a place of
// its own, and stands for no other.
#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

template <class Body>
pipe_status with_set(pipe_sess_hdl sess_hdl, Target target, pipe_pvs_id pvs_id, Body&& body) {
    return with_device(sess_hdl, target, [&](Device& device) { return on_resource(device.value_sets, pvs_id, body); });
}

template <class Body>
pipe_status with_entry(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, pipe_pvs_ent_hdl ent_hdl,
                       Body&& body) {
    return with_set(sess_hdl, dev_id, pvs_id, [&](ValueSet& set) -> pipe_status {
        ValueSetEntry* entry = set.entries.find(ent_hdl);
        return entry == nullptr ? pipe_status{VL_MODEL_NOT_FOUND} : body(set, *entry);
    });
}

// The first entry behind `ent_hdl` that lives in this place; 0 if there is none.
pipe_pvs_ent_hdl next_in(const ValueSet& set, const ValueSetPlace& place, pipe_pvs_ent_hdl ent_hdl) {
    do {
        ent_hdl = set.entries.next(ent_hdl);
    } while (ent_hdl != 0 && set.entries.find(ent_hdl)->place != place);
    return ent_hdl;
}

pipe_pvs_ent_hdl find_entry(const ValueSet& set, const ValueSetEntry& wanted) {
    pipe_pvs_ent_hdl ent_hdl = next_in(set, wanted.place, 0);
    while (ent_hdl != 0 && *set.entries.find(ent_hdl) != wanted)
        ent_hdl = next_in(set, wanted.place, ent_hdl);
    return ent_hdl;
}

bool has_property(uint32_t property) {
    return property >= 1 && property <= VL_MODEL_PROPERTIES;
}

} // namespace

pipe_status pipe_mgr_pvs_entry_add(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                   uint32_t pipe, uint8_t parser, uint32_t value, uint32_t mask,
                                   pipe_pvs_ent_hdl* ent_hdl) {
    const auto body = [&]() -> pipe_status {
        if (ent_hdl == nullptr) return VL_MODEL_INVALID;
        return with_set(sess_hdl, {dev_id, pipe}, pvs_id, [&](ValueSet& set) -> pipe_status {
            const ValueSetEntry entry{.place = {gress, pipe, parser}, .value = value, .mask = mask};
            if (find_entry(set, entry) != 0) return VL_MODEL_EXISTS;
            pipe_pvs_ent_hdl& last = model().last_value_set_entry;
            if (last + 1 == PIPE_HDL_END) return VL_MODEL_TABLE_FULL;
            set.entries.add(last + 1, ValueSetEntry(entry));
            *ent_hdl = ++last;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_pvs_entry_add", body, sess_hdl, dev_id, pvs_id, gress, pipe, parser, value, mask,
                    ent_hdl);
}

pipe_status pipe_mgr_pvs_entry_modify(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                      pipe_pvs_ent_hdl ent_hdl, uint32_t value, uint32_t mask) {
    const auto modify = [&](const ValueSet& set, ValueSetEntry& entry) -> pipe_status {
        const ValueSetEntry wanted{.place = entry.place, .value = value, .mask = mask};
        const pipe_pvs_ent_hdl same = find_entry(set, wanted);
        if (same != 0 && same != ent_hdl) return VL_MODEL_EXISTS;
        entry = wanted;
        return VL_MODEL_OK;
    };
    const auto body = [&] { return with_entry(sess_hdl, dev_id, pvs_id, ent_hdl, modify); };
    return boundary("pipe_mgr_pvs_entry_modify", body, sess_hdl, dev_id, pvs_id, ent_hdl, value, mask);
}

pipe_status pipe_mgr_pvs_entry_delete(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                      pipe_pvs_ent_hdl ent_hdl) {
    const auto remove = [&](ValueSet& set, const ValueSetEntry&) -> pipe_status {
        set.entries.remove(ent_hdl);
        return VL_MODEL_OK;
    };
    const auto body = [&] { return with_entry(sess_hdl, dev_id, pvs_id, ent_hdl, remove); };
    return boundary("pipe_mgr_pvs_entry_delete", body, sess_hdl, dev_id, pvs_id, ent_hdl);
}

pipe_status pipe_mgr_pvs_entry_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                   pipe_pvs_ent_hdl ent_hdl, uint32_t* value, uint32_t* mask, uint32_t* gress,
                                   uint32_t* pipe, uint8_t* parser) {
    const auto read = [&](const ValueSet&, const ValueSetEntry& entry) -> pipe_status {
        *value = entry.value;
        *mask = entry.mask;
        if (gress != nullptr) *gress = entry.place.gress;
        if (pipe != nullptr) *pipe = entry.place.pipe;
        if (parser != nullptr) *parser = entry.place.parser;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (value == nullptr || mask == nullptr) return VL_MODEL_INVALID;
        return with_entry(sess_hdl, dev_id, pvs_id, ent_hdl, read);
    };
    return boundary("pipe_mgr_pvs_entry_get", body, sess_hdl, dev_id, pvs_id, ent_hdl, value, mask, gress, pipe,
                    parser);
}

pipe_status pipe_mgr_pvs_entry_get_count(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                         uint32_t pipe, uint8_t parser, uint8_t read_from_hw, uint32_t* count) {
    const auto body = [&]() -> pipe_status {
        if (count == nullptr) return VL_MODEL_INVALID;
        return with_set(sess_hdl, {dev_id, pipe}, pvs_id, [&](const ValueSet& set) -> pipe_status {
            const ValueSetPlace place{gress, pipe, parser};
            *count = 0;
            for (pipe_pvs_ent_hdl found = next_in(set, place, 0); found != 0; found = next_in(set, place, found))
                ++*count;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_pvs_entry_get_count", body, sess_hdl, dev_id, pvs_id, gress, pipe, parser, read_from_hw,
                    count);
}

pipe_status pipe_mgr_pvs_entry_handle_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                          uint32_t gress, uint32_t pipe, uint8_t parser, uint32_t value, uint32_t mask,
                                          pipe_pvs_ent_hdl* ent_hdl) {
    const auto body = [&]() -> pipe_status {
        if (ent_hdl == nullptr) return VL_MODEL_INVALID;
        return with_set(sess_hdl, {dev_id, pipe}, pvs_id, [&](const ValueSet& set) -> pipe_status {
            const pipe_pvs_ent_hdl found =
                find_entry(set, {.place = {gress, pipe, parser}, .value = value, .mask = mask});
            if (found == 0) return VL_MODEL_NOT_FOUND;
            *ent_hdl = found;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_pvs_entry_handle_get", body, sess_hdl, dev_id, pvs_id, gress, pipe, parser, value, mask,
                    ent_hdl);
}

pipe_status pipe_mgr_pvs_entry_get_first(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                         uint32_t pipe, uint8_t parser, pipe_pvs_ent_hdl* ent_hdl) {
    const auto body = [&]() -> pipe_status {
        if (ent_hdl == nullptr) return VL_MODEL_INVALID;
        return with_set(sess_hdl, {dev_id, pipe}, pvs_id, [&](const ValueSet& set) -> pipe_status {
            const pipe_pvs_ent_hdl first = next_in(set, {gress, pipe, parser}, 0);
            if (first == 0) return VL_MODEL_NOT_FOUND;
            *ent_hdl = first;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_pvs_entry_get_first", body, sess_hdl, dev_id, pvs_id, gress, pipe, parser, ent_hdl);
}

pipe_status pipe_mgr_pvs_entry_get_next(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                        uint32_t pipe, uint8_t parser, pipe_pvs_ent_hdl ent_hdl, uint32_t count,
                                        pipe_pvs_ent_hdl* ent_hdls) {
    const auto walk = [&](const ValueSet& set) -> pipe_status {
        if (!set.entries.was_given_out(ent_hdl)) return VL_MODEL_NOT_FOUND;
        pipe_pvs_ent_hdl last = ent_hdl;
        for (uint32_t i = 0; i < count; ++i) {
            last = next_in(set, {gress, pipe, parser}, last);
            if (last == 0) {
                ent_hdls[i] = PIPE_HDL_END;
                break;
            }
            ent_hdls[i] = last;
        }
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (ent_hdls == nullptr && count != 0) return VL_MODEL_INVALID;
        return with_set(sess_hdl, {dev_id, pipe}, pvs_id, walk);
    };
    return boundary("pipe_mgr_pvs_entry_get_next", body, sess_hdl, dev_id, pvs_id, gress, pipe, parser, ent_hdl, count,
                    ent_hdls);
}

pipe_status pipe_mgr_pvs_set_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t property,
                                      uint32_t value, pipe_pvs_property_args args) {
    const auto body = [&]() -> pipe_status {
        return with_set(sess_hdl, dev_id, pvs_id, [&](ValueSet& set) -> pipe_status {
            if (!has_property(property)) return VL_MODEL_INVALID;
            set.properties[{property, args.arg}] = value;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_pvs_set_property", body, sess_hdl, dev_id, pvs_id, property, value, args);
}

pipe_status pipe_mgr_pvs_get_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t property,
                                      uint32_t* value, pipe_pvs_property_args args) {
    const auto body = [&]() -> pipe_status {
        if (value == nullptr) return VL_MODEL_INVALID;
        return with_set(sess_hdl, dev_id, pvs_id, [&](const ValueSet& set) -> pipe_status {
            if (!has_property(property)) return VL_MODEL_INVALID;
            const auto found = set.properties.find({property, args.arg});
            *value = found == set.properties.end() ? 0 : found->second;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_pvs_get_property", body, sess_hdl, dev_id, pvs_id, property, value, args);
}
