// Parser value sets at the boundary. Gress, pipe and parser are just numbers to compare: PIPE_ALL_PIPES is a pipe like
// any other and doesn't match them.
#include "core/model.h"

using namespace vl_model;

namespace {

// The first entry after `ent_hdl` in this place; 0 if there is none.
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

// The value of a property, made if the set has none yet. Refuses a property that no value set has.
uint32_t& property_of(ValueSet& set, uint32_t property, uint64_t arg) {
    refuse_if(property < 1 || property > VL_MODEL_PROPERTIES, VL_MODEL_INVALID);
    return set.properties[{property, arg}];
}

} // namespace

pipe_status pipe_mgr_pvs_entry_add(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                   uint32_t pipe, uint8_t parser, uint32_t value, uint32_t mask,
                                   pipe_pvs_ent_hdl* ent_hdl) {
    return Boundary(__func__, sess_hdl, dev_id, pvs_id, gress, pipe, parser, value, mask, ent_hdl)([&] {
        const auto device = lock_device(sess_hdl, {dev_id, pipe});
        ValueSet& set = resource_in(device->value_sets, pvs_id);
        const ValueSetEntry entry{.place = {gress, pipe, parser}, .value = value, .mask = mask};
        refuse_if(find_entry(set, entry) != 0, VL_MODEL_EXISTS);
        pipe_pvs_ent_hdl& last = model().last_value_set_entry;
        refuse_if(last + 1 == PIPE_HDL_END, VL_MODEL_TABLE_FULL);
        set.entries.add(last + 1, ValueSetEntry(entry));
        *ent_hdl = ++last;
    });
}

pipe_status pipe_mgr_pvs_entry_modify(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                      pipe_pvs_ent_hdl ent_hdl, uint32_t value, uint32_t mask) {
    return device_call(__func__, sess_hdl, dev_id, pvs_id, ent_hdl, value, mask)([&](Device& device) {
        ValueSet& set = resource_in(device.value_sets, pvs_id);
        ValueSetEntry& entry = set.entries.at(ent_hdl);
        const ValueSetEntry wanted{.place = entry.place, .value = value, .mask = mask};
        const pipe_pvs_ent_hdl same = find_entry(set, wanted);
        refuse_if(same != 0 && same != ent_hdl, VL_MODEL_EXISTS);
        entry = wanted;
    });
}

pipe_status pipe_mgr_pvs_entry_delete(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                      pipe_pvs_ent_hdl ent_hdl) {
    return device_call(__func__, sess_hdl, dev_id, pvs_id, ent_hdl)([&](Device& device) {
        ValueSet& set = resource_in(device.value_sets, pvs_id);
        set.entries.at(ent_hdl);
        set.entries.remove(ent_hdl);
    });
}

pipe_status pipe_mgr_pvs_entry_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                   pipe_pvs_ent_hdl ent_hdl, uint32_t* value, uint32_t* mask, uint32_t* gress,
                                   uint32_t* pipe, uint8_t* parser) {
    return device_call(__func__, sess_hdl, dev_id, pvs_id, ent_hdl, value, mask, nullable(gress), nullable(pipe),
                       nullable(parser))([&](Device& device) {
        const ValueSetEntry& entry = resource_in(device.value_sets, pvs_id).entries.at(ent_hdl);
        *value = entry.value;
        *mask = entry.mask;
        if (gress != nullptr) *gress = entry.place.gress;
        if (pipe != nullptr) *pipe = entry.place.pipe;
        if (parser != nullptr) *parser = entry.place.parser;
    });
}

pipe_status pipe_mgr_pvs_entry_get_count(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                         uint32_t pipe, uint8_t parser, uint8_t read_from_hw, uint32_t* count) {
    return Boundary(__func__, sess_hdl, dev_id, pvs_id, gress, pipe, parser, read_from_hw, count)([&] {
        const auto device = lock_device(sess_hdl, {dev_id, pipe});
        const ValueSet& set = resource_in(device->value_sets, pvs_id);
        const ValueSetPlace place{gress, pipe, parser};
        *count = 0;
        for (pipe_pvs_ent_hdl found = next_in(set, place, 0); found != 0; found = next_in(set, place, found))
            ++*count;
    });
}

pipe_status pipe_mgr_pvs_entry_handle_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id,
                                          uint32_t gress, uint32_t pipe, uint8_t parser, uint32_t value, uint32_t mask,
                                          pipe_pvs_ent_hdl* ent_hdl) {
    return Boundary(__func__, sess_hdl, dev_id, pvs_id, gress, pipe, parser, value, mask, ent_hdl)([&] {
        const auto device = lock_device(sess_hdl, {dev_id, pipe});
        const ValueSetEntry wanted{.place = {gress, pipe, parser}, .value = value, .mask = mask};
        write_first(find_entry(resource_in(device->value_sets, pvs_id), wanted), ent_hdl);
    });
}

pipe_status pipe_mgr_pvs_entry_get_first(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                         uint32_t pipe, uint8_t parser, pipe_pvs_ent_hdl* ent_hdl) {
    return Boundary(__func__, sess_hdl, dev_id, pvs_id, gress, pipe, parser, ent_hdl)([&] {
        const auto device = lock_device(sess_hdl, {dev_id, pipe});
        write_first(next_in(resource_in(device->value_sets, pvs_id), {gress, pipe, parser}, 0), ent_hdl);
    });
}

pipe_status pipe_mgr_pvs_entry_get_next(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t gress,
                                        uint32_t pipe, uint8_t parser, pipe_pvs_ent_hdl ent_hdl, uint32_t count,
                                        pipe_pvs_ent_hdl* ent_hdls) {
    return Boundary(__func__, sess_hdl, dev_id, pvs_id, gress, pipe, parser, ent_hdl, count,
                    room(ent_hdls, count))([&] {
        const auto device = lock_device(sess_hdl, {dev_id, pipe});
        const ValueSet& set = resource_in(device->value_sets, pvs_id);
        refuse_if(!set.entries.was_given_out(ent_hdl), VL_MODEL_NOT_FOUND);
        const ValueSetPlace place{gress, pipe, parser};
        write_following(count, ent_hdls, [&, at = ent_hdl]() mutable { return at = next_in(set, place, at); });
    });
}

pipe_status pipe_mgr_pvs_set_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t property,
                                      uint32_t value, pipe_pvs_property_args args) {
    return device_call(__func__, sess_hdl, dev_id, pvs_id, property, value, args)(
        [&](Device& device) { property_of(resource_in(device.value_sets, pvs_id), property, args.arg) = value; });
}

pipe_status pipe_mgr_pvs_get_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_pvs_id pvs_id, uint32_t property,
                                      uint32_t* value, pipe_pvs_property_args args) {
    return device_call(__func__, sess_hdl, dev_id, pvs_id, property, value, args)(
        [&](Device& device) { *value = property_of(resource_in(device.value_sets, pvs_id), property, args.arg); });
}
