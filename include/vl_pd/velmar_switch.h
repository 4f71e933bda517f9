/*
 * The control interface of the velmar_switch pipeline: tables, action profiles, resources and services.
 *
 * An agent includes only this header. The functions form families. A family has one function for each table, or for
 * each action of a table; its functions differ only in constants. The headers included below declare the functions,
 * table by table, next to the records that they take. A comment above each declaration says what the function does,
 * what it writes, and which statuses it adds to the driver's. This page lists the families, and says what holds for
 * many functions.
 *
 * Every name except bf_drv_hdl and unbuild_... has the prefix p4_pd_velmar_switch_, which is left out here.
 *
 *
 * Constants and records
 *
 *   table_<table>, profile_<profile>, selector_<profile>, counter_<counter>, meter_<meter>, wred_<block>,
 *   register_<register>, digest_<digest>, hash_calc_<calc>, pvs_<set>
 *                               The handle of each row, and the id of a parser value set. profile_ is the handle of the
 *                               profile's data table.
 *   action_<action>             The action's number, in enum ..._action.
 *   <table>_match_spec_t        The table's key. A comment says how many bits a field has, if it doesn't fill its type,
 *                               and which of them the table matches, if it doesn't match all.
 *   <action>_action_spec_t      The action's parameters.
 *   <table>_action_specs_t, <profile>_action_specs_t
 *                               A union of the records of the table's or profile's actions, for readers of entries and
 *                               members. It doesn't exist if none of these actions has parameters.
 *   <digest>_entry_t            An entry of a digest.
 *   VL_PD_VERSION, VL_PD_VERSION_MAJOR, VL_PD_VERSION_MINOR, VL_PD_VERSION_PATCH
 *                               (no prefix) The version of these headers, as text and as numbers.
 *   pd_status_text(status)      (no prefix) What a status of the library means. The driver knows the words for its own.
 *
 *
 * Arguments that recur
 *
 *   sess_hdl     A session of the driver. The library passes it on and never opens one.
 *   dev_tgt      Device and pipe. Operations take it if they name an entry by its key, or a whole table or profile.
 *   dev_id       Device. Operations take it if they name an entry, member or group by handle. The signatures say which.
 *   match_spec   The table's record <table>_match_spec_t, with one field per key field. A field that is matched by mask
 *                is followed by its mask <field>_mask, where a 1 bit is matched. A field that is matched by prefix is
 *                followed by the prefix length in bits, <field>_prefix_length. In ipv4FinalResolve0,
 *                ipv6LgMaskFinalResolve0 and ipv6FinalResolve the first field names a partition and isn't matched. A
 *                key uses only the low 16 bits of the 32-bit field l3_nextHop.
 *   priority     Orders the entries of a masked table. The driver says which wins; in the embedded driver the lowest
 *                number does. Other tables take no priority.
 *   action_spec  The action's record <action>_action_spec_t, with one field action_<param> per parameter. Actions
 *                without parameters take no action_spec.
 *
 * Records and buffers belong to the caller; the library uses them only during the call. Nothing that it returns has to
 * be freed. Values are not checked: a value that is wider than its field goes to the driver as it is.
 *
 * Every pd_status comes unchanged from the driver, unless the family says otherwise. Don't read outputs after a
 * failure. The driver itself writes handles, counts and times. The library doesn't write the outputs that it decodes,
 * unless the family says otherwise. If the low 8 bits of read_from_hw are zero, the driver's copy is read, otherwise
 * the hardware.
 *
 * A failed assertion writes a line to the driver's log, and the call goes on as its family says. In the driver's debug
 * mode it stops the process instead. Two things fail an assertion: a driver's answer that can't come from this
 * pipeline, in <table>_get_entry, get_member and the decoders of placement data; and a meter_type outside
 * PD_METER_TYPE_..., in meter_set_ and in the adds, modifies and set_default_action_ of l2LookupMiss.
 *
 *
 * Callbacks
 *
 * The library passes a callback and its cookie to the driver unchanged, and the driver calls it. Each callback has one
 * of the driver's types; cast it to pd_driver_callback. Integers below are uint32_t; dev_tgt is passed by value:
 *
 *   <table>_register_mat_update_cb      void (sess_hdl, pd_dev_tgt dev_tgt, tbl_hdl, entry_hdl, update, void *cookie)
 *   <table>_idle_register_tmo_cb        void (dev_id, tbl_hdl, entry_hdl, void *cookie)
 *   <table>_update_hit_state            void (dev_id, void *cookie)
 *   <profile>_register_adt_update_cb    void (sess_hdl, pd_dev_tgt dev_tgt, adt_hdl, mbr_hdl, update, void *cookie)
 *   <profile>_register_sel_update_cb    void (sess_hdl, pd_dev_tgt dev_tgt, sel_hdl, grp_hdl, mbr_hdl, update,
 *                                             void *cookie)
 *   <profile>_register_callback, <profile>_sel_track_updates
 *                                       void (sess_hdl, pd_dev_tgt dev_tgt, grp_hdl, mbr_hdl, index, active,
 *                                             void *cookie)
 *   counter_hw_sync_, register_hw_sync_ void (dev_id, void *cookie)
 *   <digest>_register                   pd_status (sess_hdl, struct pipe_digest_msg *message, void *cookie)
 *
 * The headers in vl_driver/ define these types as pipe_mat_update_cb, pipe_idle_tmo_cb, pipe_idle_hit_state_cb,
 * pipe_adt_update_cb, pipe_sel_update_cb, pipe_sel_tbl_cb, pipe_sync_cb and pipe_digest_cb.
 *
 *
 * Threads
 *
 * Several threads may call any functions at once, even for the same table or entry. The library has no lock. It writes
 * its own data in init() and only reads it later. vl_driver/driver.h says what the library expects of the driver. An
 * agent keeps these rules:
 *
 *   Start and end  While init() or cleanup() runs, no other function may run.
 *   Profiles       For each device and profile, only one thread at a time may call the functions that add, modify or
 *                  delete members or groups, change the members of a group, or make an entry or a default entry point
 *                  at a member or group. The driver call and the update of the shadow (see below) are two steps. None
 *                  of these functions may run while the driver removes the device, or while it drops, restores or
 *                  replays the state of the device. If the driver saves the state meanwhile, the latest change may be
 *                  missing. The other functions of a profile may run at any time.
 *   Callbacks      A callback may come on any thread, and on several at once. It may call all functions except init()
 *                  and cleanup(). A callback keeps the rule for profiles, too.
 *   Cookies        A registration ends when null or another callback is registered, or by deregistration, or when the
 *                  device is removed. When the call that ends it has returned, the cookie may be freed. If that call
 *                  came from within a callback, the ended callback may still be running, on this thread or another.
 *                  During that call, the caller must not hold a lock that the callback takes. The cookie of an
 *                  update_hit_state, counter_hw_sync_ or register_hw_sync_ may be freed when the callback has run, or
 *                  when the call was refused.
 *   Outputs        Two calls must not write to the same record or buffer at once. A print writes line by line: on one
 *                  file descriptor, the lines of several threads may mix.
 *
 * A function that makes several driver calls is not one step: other threads may make changes between these calls.
 *
 *
 * The program
 *
 *   init()                          Call it once, before anything else. It sets up the shadow of the action profiles
 *                                   and registers with the driver. From then on the driver calls the library back when
 *                                   a device goes away and when it saves or restores a device's state. If the driver
 *                                   refuses the registration, the process stops. A second call isn't detected.
 *   cleanup()                       Call it at the end. Deregisters; returns the driver's status. Frees nothing.
 *   device_state_cleanup()          Does nothing. It exists for agents that call it.
 *   bf_drv_hdl                      (no prefix) The handle of this library as the driver's client.
 *   action_name_strings[]           The full names of all actions, by action number (enum ..._action).
 *   action_enum_to_string(number), action_string_to_enum(name)      Full names include the prefix.
 *
 *
 * Writing entries
 *
 *   <table>_table_add_with_<action>(sess_hdl, dev_tgt, match_spec, [priority], [action_spec], [meter_spec], [ttl],
 *                                   entry_hdl out)
 *   <table>_table_modify_with_<action>(sess_hdl, dev_id, entry_hdl, [action_spec], [meter_spec])
 *   <table>_table_modify_with_<action>_by_match_spec(sess_hdl, dev_tgt, match_spec, [priority], [action_spec],
 *                                   [meter_spec])
 *   <table>_table_delete(sess_hdl, dev_id, entry_hdl)
 *   <table>_table_delete_by_match_spec(sess_hdl, dev_tgt, match_spec, [priority])
 *   <table>_match_spec_to_entry_hdl(sess_hdl, dev_tgt, match_spec, [priority], entry_hdl out)
 *
 * Each function makes one driver call. The driver writes the handle of a new or found entry; after a failed call
 * entry_hdl holds what the driver left there. In a masked table, key and priority together identify an entry. Mask and
 * prefix length decide which bits of a key matter: the library clears the value bits that they don't cover. A prefix
 * length above the field's width is sent as a priority that no prefix has, so that the driver refuses it.
 *
 * Only l2LookupMiss takes a meter_spec. An add must have one, or the entry's meter slot is sent unset. A modify with
 * null leaves the entry's meter as it is. An unknown meter_type is a failed assertion, and is sent as colour aware.
 *
 * Only the adds of l2LearningLookup take a ttl: the entry's first time-to-live, in the driver's unit.
 *
 * Five parameters are an index into a counter, meter, WRED block or register, and not action data: `index` of runWred
 * and setQueueReportFlagFinal, `meterIndex` of setIngressMirrorColor and setEgressMirrorColor, and `counterIndex` of
 * setPdpClassCount. `pdpClassId` of meterPdpClass is both. An add uses the low 16 bits of an index, a modify all 32.
 *
 *
 * Reading entries
 *
 *   <table>_get_entry(sess_hdl, dev_id, entry_hdl, read_from_hw, ...)
 *       Reads one entry.
 *       Tables with actions:  [match_spec out, [priority out,]] action_name out, action_spec out, action_id out
 *                             [, is_default out]
 *       Tables whose entries point into an action profile:  match_spec out, [priority out,] has_mbr out, has_grp out,
 *                             grp_hdl out, mbr_hdl out, is_default out
 *       Keyless tables have neither match_spec nor is_default.
 *
 *       action_spec is written if the action has parameters; <table>_action_specs_t has room for each action. An index
 *       parameter (above) is the index of the entry's attached resource. It is PD_NO_INDEX if the driver reports no
 *       resource, and 0 if it reports only other resources. An entry sets has_mbr or has_grp to 1, and writes the
 *       handle of that member or group. The other flag is 0, and the other handle isn't written.
 *
 *       PD_STATUS_UNEXPECTED, after a failed assertion: the driver's answer holds no action data, and nothing is
 *       written; or the action isn't the table's, and only match_spec, priority and is_default are written.
 *       PD_STATUS_NO_MEMORY: no memory for the list of the entry's resources; nothing is written.
 *
 *   <table>_get_entry_count(sess_hdl, dev_tgt, count out)
 *   <table>_get_first_entry_handle(sess_hdl, dev_tgt, entry_hdl out)
 *   <table>_get_next_entry_handles(sess_hdl, dev_tgt, entry_hdl, n, next_entry_hdls out)
 *       To walk a table, get the first handle, then up to n handles after the last one that you have. next_entry_hdls
 *       needs room for n handles. PD_HDL_END in it ends the list. All three pass on what the driver answers.
 *
 *
 * Default entries
 *
 *   <table>_set_default_action_<action>(sess_hdl, dev_tgt, [action_spec], [meter_spec], entry_hdl out)
 *   <table>_table_get_default_entry(sess_hdl, dev_tgt, read_from_hw, action_record out)
 *   <table>_table_get_default_entry(sess_hdl, dev_tgt, read_from_hw, has_mbr out, has_grp out,
 *                                   grp_hdl out, mbr_hdl out)
 *   <table>_table_get_default_entry_handle(sess_hdl, dev_tgt, entry_hdl out)
 *   <table>_table_reset_default_entry(sess_hdl, dev_tgt)
 *
 * The default entry says what a table does with a packet that matches no entry. Keyless tables have no other entry.
 * Each action that may be a default has a set_default_action_. Tables whose entries point into an action profile have
 * set_default_entry (below) instead, and the second form of get_default_entry. set_default_action_ sends what an add of
 * the same action sends. In l2LookupMiss, set_default_action_NoAction takes a meter_spec; null detaches the meter.
 *
 * get_default_entry writes the action's number and, if the action has parameters, its record from byte 4 on. It writes
 * nothing more. A pd_action_record has room for any action. A struct of a uint32_t and the table's action_specs_t has
 * room for any action of the table. PD_STATUS_UNEXPECTED: the driver's answer holds no action data, or an action that
 * isn't the table's; in the second form, neither a member nor a group. Nothing is written or logged then.
 * PD_STATUS_NO_MEMORY as for <table>_get_entry. A reset restores the entry that the driver started with.
 *
 *
 * Whole tables
 *
 *   <table>_get_mat_table_handle(tbl_hdl out)
 *   <table>_supports_entry_priority()
 *   <table>_<field>_width()                             <field> is its name in the record; for a validity field
 *                                                       <header>_valid it is <header>.
 *   <table>_get_property(sess_hdl, dev_id, property, value out, args out)
 *   <table>_set_property(sess_hdl, dev_id, property, value, args)
 *   <table>_register_mat_update_cb(sess_hdl, dev_id, callback, cookie)
 *
 * The driver defines the numbers and values of properties.
 *
 *
 * Idle time, for tables that age their entries
 *
 *   <table>_idle_tmo_enable(sess_hdl, dev_id, params)   params is passed by value.
 *   <table>_idle_tmo_disable(sess_hdl, dev_id)
 *   <table>_idle_register_tmo_cb(sess_hdl, dev_id, callback, cookie)
 *   <table>_idle_params_get(sess_hdl, dev_id, params out)
 *   <table>_set_ttl(sess_hdl, dev_id, entry_hdl, ttl), _get_ttl(sess_hdl, dev_id, entry_hdl, ttl out)
 *   <table>_reset_ttl(sess_hdl, dev_id, entry_hdl)
 *   <table>_update_hit_state(sess_hdl, dev_id, callback, cookie)
 *   <table>_get_hit_state(sess_hdl, dev_id, entry_hdl, hit_state out)
 *
 * The driver defines modes, times and hit states. An add sends a time-to-live of 0, except in l2LearningLookup (above).
 *
 *
 * Action profiles: members
 *
 *   <profile>_add_member_with_<action>(sess_hdl, dev_tgt, [action_spec], mbr_hdl out)
 *   <profile>_modify_member_with_<action>(sess_hdl, dev_id, mbr_hdl, [action_spec])
 *   <profile>_del_member(sess_hdl, dev_id, mbr_hdl)
 *   <profile>_get_member(sess_hdl, dev_id, mbr_hdl, read_from_hw, action_record out)
 *   <profile>_get_first_member(sess_hdl, dev_tgt, mbr_hdl out), _get_next_members(sess_hdl, dev_tgt, mbr_hdl, n, out)
 *   <profile>_get_act_prof_entry_count(sess_hdl, dev_tgt, count out)
 *   <profile>_register_adt_update_cb(sess_hdl, dev_tgt, callback, cookie)
 *   <profile>_get_adt_table_handle(tbl_hdl out)
 *
 * A member is an instance of an action that many entries share. The driver holds the members. The library keeps a
 * shadow: which members exist, and which action each has. It updates the shadow after the driver has accepted a change.
 * A member never changes its action. A modify with another action returns PD_STATUS_MISMATCH. A modify of an unknown
 * member returns the shadow's status. Neither calls the driver. get_member writes action_record as a read of a default
 * entry does; an action that isn't the profile's is a failed assertion and gives PD_STATUS_UNEXPECTED.
 * Callers that share a profile take turns (see Threads).
 *
 * If the shadow fails after the driver has accepted a change, the change remains and the result is 0. Only del_group
 * returns the shadow's status. The consequences depend on the change:
 *
 *   add_member, create_group      Later operations that need the member's or group's action get the shadow's status.
 *   del_member, del_group         The shadow keeps what the driver deleted. Later operations get the driver's status.
 *   add_member_to_group           The membership may be missing from the shadow, and then also from its saved state.
 *                                 The group may keep its old action. If it had none, entries can't point at the group:
 *                                 they get the shadow's status.
 *   del_member_from_group         The membership remains in the shadow and in its saved state.
 *
 *
 * Action profiles: selector groups
 *
 *   <profile>_create_group(sess_hdl, dev_tgt, max_grp_size, grp_hdl out), _del_group(sess_hdl, dev_id, grp_hdl)
 *   <profile>_add_member_to_group, _del_member_from_group(sess_hdl, dev_id, grp_hdl, mbr_hdl)
 *   <profile>_group_member_state_set(sess_hdl, dev_tgt, grp_hdl, mbr_hdl, mbr_state)
 *   <profile>_group_member_state_get(sess_hdl, dev_tgt, grp_hdl, mbr_hdl, mbr_state out)
 *   <profile>_set_dynamic_action_selection_fallback_member(sess_hdl, dev_tgt, mbr_hdl), _reset_...(sess_hdl, dev_tgt)
 *   <profile>_get_first_group, _get_next_groups, _get_first_group_member, _get_next_group_members: walks like those of
 *       entries. The walks over a group's members take dev_id, the others dev_tgt.
 *   <profile>_get_selector_group_count, _get_selector_group_member_count
 *   <profile>_get_word_llp_active_member_count, _get_word_llp_active_members: by a word of the selector, which the
 *       driver defines
 *   <profile>_group_member_get_from_hash(sess_hdl, dev_tgt, grp_hdl, hash, hash_len, mbr_hdl out)
 *   <profile>_register_callback, _register_sel_update_cb(sess_hdl, dev_tgt, callback, cookie)
 *   <profile>_sel_track_updates(dev_id, callback, cookie)
 *   <profile>_get_sel_table_handle(tbl_hdl out)
 *
 * For each packet the data plane chooses one of the group's active members by a hash. A group takes over the action of
 * the member that joined last, and keeps it when members leave. Entries that point at the group carry that action. A
 * member that the shadow doesn't know can't join: the result is the shadow's status, without a driver call. mbr_state
 * is P4_PD_GRP_MBR_STATE_ACTIVE or _INACTIVE. A set of any other value returns PD_STATUS_INVALID. If the driver reports
 * another state, a get returns 0 and writes nothing. del_group needs memory for the list of members. Without memory, it
 * returns PD_STATUS_NO_MEMORY and the group remains. Once the driver has deleted the group, del_group returns the
 * shadow's status.
 *
 *
 * Entries that point into a profile: ecmpGroup, lagGroup, tunnelResolve, ingressMirrorLagGroup, egressMirrorLagGroup
 *
 *   <table>_add_entry(sess_hdl, dev_tgt, match_spec, [priority], mbr_hdl, entry_hdl out)
 *   <table>_modify_entry(sess_hdl, dev_id, entry_hdl, mbr_hdl)
 *   <table>_modify_entry_by_match_spec(sess_hdl, dev_tgt, match_spec, [priority], mbr_hdl)
 *   <table>_set_default_entry(sess_hdl, dev_tgt, mbr_hdl, entry_hdl out)
 *   The same four with _with_selector after _entry take grp_hdl instead of mbr_hdl.
 *
 * The library also gives the driver the action of the member or group, which it takes from the shadow. If the shadow
 * doesn't know the member or group, or no member ever joined the group, the result is the shadow's status, without a
 * driver call. An entry may change from a member to a group and back.
 *
 *
 * After a restart of the agent
 *
 *   restore_virtual_dev_state(a1, a2, a3, a4, a5)
 *
 * When the agent restarts, the driver keeps its tables, but the shadow is lost. There are two ways to restore it. The
 * driver hands a saved device state to the callback that init() has registered; or the agent makes this call, and the
 * driver replays its members, groups and memberships. The library hands the five words on to the driver, which may keep
 * the callback that comes with them. Call init() first. No member or group operation may run during the replay. A
 * replayed group has the action of the last of its members in the replay; a group that had lost its members before the
 * restart has no action until a member joins. What can't be restored is left out without a report. A device state that
 * was saved while memory was short may lack members, groups or whole profiles; they are left out in the same way.
 *
 *
 * Walking by handle, for callers that hold the handle of a table or profile as data
 *
 *   entry_hdl_first(sess_hdl, dev_tgt, tbl_hdl, entry_hdl out)
 *   entry_hdl_next(sess_hdl, dev_tgt, tbl_hdl, entry_hdl, n, next_entry_hdls out)
 *   entry_hdl_default(sess_hdl, dev_tgt, tbl_hdl, entry_hdl out)
 *   member_hdl_first(sess_hdl, dev_tgt, adt_hdl, mbr_hdl out)
 *   member_hdl_next(sess_hdl, dev_tgt, adt_hdl, mbr_hdl, n, next_mbr_hdls out)
 *
 * They do what the functions of the table or profile do, and check the handle before.
 *
 *
 * Counters
 *
 *   counter_read_<counter>(sess_hdl, dev_id, entry_hdl, flags, value out)   direct: a cell per entry of a match table
 *   counter_read_<counter>(sess_hdl, dev_tgt, index, flags, value out)      indirect: an array of cells
 *   counter_write_<counter>(sess_hdl, dev_tgt, entry_hdl or index, value)   by value
 *   counter_hw_sync_<counter>(sess_hdl, dev_tgt, callback, cookie)          all cells, software from hardware
 *
 * With bit 0 of flags set, the driver updates the cell from the hardware before the read. The driver defines which
 * count is packets and which is bytes. The library doesn't check an index.
 *
 *
 * Meters and WRED
 *
 *   meter_set_<meter>(sess_hdl, dev_id, entry_hdl, meter_spec)              direct: stormControlMeter, of l2LookupMiss
 *   meter_set_<meter>(sess_hdl, dev_tgt, index, meter_spec)                 indirect
 *   meter_read_<meter>(sess_hdl, dev_tgt, entry_hdl or index, meter_spec out)
 *   meter_bytecount_adjust_set_<meter>(sess_hdl, dev_tgt, adjustment), meter_bytecount_adjust_get_<meter>(..., out)
 *   wred_set_wredBlock, wred_read_wredBlock(sess_hdl, dev_tgt, index, wred_spec)
 *   bytes_meter_set, packets_meter_set(sess_hdl, dev_tgt, meter_hdl, index, meter_spec, has_pre_color)
 *   bytes_meter_read, packets_meter_read(sess_hdl, dev_tgt, meter_hdl, index, meter_spec out)
 *   wred_set(sess_hdl, dev_tgt, wred_hdl, index, wred_spec)
 *
 * meter_set_<meter> and bytes_meter_set set a meter that counts bytes, packets_meter_set one that counts packets. They
 * translate PD_METER_TYPE_... into the driver's meter type. A read returns the driver's meter type, and the low 32 bits
 * of rates and bursts. In meter_set_<meter>, a meter_type outside PD_METER_TYPE_... is a failed assertion, and is sent
 * as colour aware. The two sets by handle return PD_STATUS_INVALID for such a type, without a driver call. They do the
 * same for a colour aware meter if the low 8 bits of has_pre_color are zero. WRED specs are copied unchanged.
 *
 *
 * Registers
 *
 *   register_read_<register>(sess_hdl, dev_tgt, index, flags, values out, value_count out)
 *   register_range_read_<register>(sess_hdl, dev_tgt, first_index, count, flags, cells_read out, values out,
 *                                  value_count out)
 *   register_write_<register>(sess_hdl, dev_tgt, index, value), register_write_all_<register>(sess_hdl, dev_tgt, value)
 *   register_reset_all_<register>(sess_hdl, dev_tgt), register_range_reset_<register>(sess_hdl, dev_tgt, first_index,
 *                                  count)
 *   register_hw_sync_<register>(sess_hdl, dev_tgt, callback, cookie)
 *
 * A cell holds a flag (uint8_t; any value except 0 is written as 1), a word (uint32_t) or a pair of words. A read gives
 * one value for each instance of the cell in the hardware. `values` needs room for all of them: the number of values
 * that the driver has for a cell (for example its number of pipes), times count for a range. The values follow each
 * other with no gaps. Bit 0 of flags goes to the driver. A read allocates its lists in the driver's memory and frees
 * them before it returns. PD_STATUS_NO_MEMORY: no memory for these lists; no cell was read and nothing is written.
 *
 * The count of a range is signed. A count of 0 also goes to the driver. A negative count gives PD_STATUS_NO_MEMORY,
 * after the driver was asked how many values a cell has. count times that number must stay below 2^31; the library
 * doesn't check it.
 *
 *   register_read_indirect(sess_hdl, dev_tgt, reg_hdl, index, flags, query), register_read_direct(sess_hdl, dev_tgt,
 *   tbl_hdl, entry_hdl, flags, query), register_write_indirect, register_write_all_indirect,
 *   register_reset_all_indirect, register_range_reset_indirect, register_hw_sync_indirect, register_hw_sync_direct: any
 *   register by handle, with the driver's records. register_write_direct(sess_hdl, dev_id, reg_hdl, entry_hdl, value)
 *   takes the 16 bytes by value. It sends the low 8 bits of dev_id, and sends reg_hdl twice: as the register of the
 *   resource slot, and as the table.
 *
 *
 * Learning digests
 *
 *   <digest>_register(sess_hdl, dev_id, callback, cookie), <digest>_deregister(sess_hdl, dev_id)
 *   <digest>_notify_ack(sess_hdl, message)
 *   set_learning_timeout(sess_hdl, dev_id, timeout)
 *   get_digest_entry_size(digest), get_digest_entry_field(entry, digest, field, size out)       digest, field: names
 *
 * Entries are packed: a message holds them as an array of <digest>_entry_t. Fields hold the driver's bytes, without
 * conversion. The low 8 bits of dev_id go to the driver.
 *
 *
 * Parser value sets
 *
 *   pvs_<set>_entry_add(sess_hdl, target, value, mask, entry_hdl out), _entry_modify(sess_hdl, dev_id, entry_hdl,
 *   value, mask), _entry_delete, _entry_get(sess_hdl, dev_id, entry_hdl, value out, mask out),
 *   _entry_get_count(sess_hdl, target, read_from_hw, count out), _entry_handle_get(sess_hdl, target, value, mask,
 *   entry_hdl out), _entry_get_first_entry_handle, _entry_get_next_entry_handles, _set_property(sess_hdl, dev_id,
 *   property, value, arg), _get_property(sess_hdl, dev_id, property, value out, arg)
 *
 * The driver defines the targets, values and properties.
 *
 *
 * Hash calculations
 *
 *   hash_calc_<calc>_algorithm_set, _algorithm_get, _seed_set, _seed_get, _input_set, _input_get(sess_hdl, dev_id, ...)
 *   hash_calc_<calc>_input_field_attribute_set(sess_hdl, dev_id, input, count, attributes)
 *   hash_calc_<calc>_input_field_attribute_get(sess_hdl, dev_id, input, max_count, attributes out, count out)
 *   hash_calc_<calc>_input_field_attribute_count_get(sess_hdl, dev_id, input, count out)
 *   hash_calc_<calc>_calculate_hash_value(sess_hdl, dev_id, count, fields, widths, hash out, hash_len)
 *
 * A calculation has one algorithm and one input. Each has the number 0; a set sends any other number to the driver as
 * handle 0. _algorithm_get and _input_get return PD_STATUS_INVALID and write nothing if the driver reports another
 * handle, or none because it failed. The reads of attributes use the input that the driver reports. If this is the
 * calculation's input and the caller passes a number other than 0, they return PD_STATUS_INVALID; _attribute_get then
 * sets count to 0, _attribute_count_get writes nothing. attr_value carries 32 bits. PD_STATUS_NO_MEMORY: no memory for
 * the driver's records or for the stream.
 *
 * calculate_hash_value predicts the hash of a packet. It packs the values of `count` fields, of widths[i] bits each,
 * into one big-endian number, with the first field at the top and no alignment between fields. A value of up to 32 bits
 * is in attr_value. The bytes of a wider value are at attr_bytes, most significant first. A value must fit its width.
 *
 *
 * Snapshots
 *
 *   snapshot_create(dev_tgt, start_stage, end_stage, direction, snapshot_hdl out), snapshot_delete(snapshot_hdl)
 *   snapshot_capture_trigger_set(snapshot_hdl, value, mask)
 *   snapshot_capture_data_get(snapshot_hdl, pipe, stages out, capture_ctrl out, count out)
 *
 * The records of a trigger are in the machine's byte order and packed without alignment. They have one of two layouts;
 * bit 1 of the handle tells which. `stages` needs room for PD_SNAPSHOT_MAX_STAGES records. One record is filled for
 * each stage that the snapshot service reports, up to that number. If the service then fails to deliver the capture,
 * these records are zero. If it refuses to report the sizes, the library still asks for the capture, with a buffer of
 * no bytes, and returns the status of that call; no record is filled. PD_STATUS_NO_MEMORY: no memory for the capture;
 * count is 0 and no record is filled.
 *
 *
 * Texts: schemas and value strings
 *
 *   <table>_match_spec_schema(), <action>_schema()             constant texts of the library
 *   <table>_schema(buffer out), <profile>_schema(buffer out)
 *   cli_schema(hdl, buffer out)                                by table or profile handle; "()" for any other
 *   <table>_match_spec_value(match_spec, buffer out), <action>_value([action_spec], buffer out)
 *   <table>_value(sess_hdl, dev_id, entry_hdl, read_from_hw, buffer out)
 *   entry_value(sess_hdl, dev_id, tbl_hdl, entry_hdl, read_from_hw, buffer out)
 *                                                              by table handle; any other gives 0 and writes nothing
 *
 * A schema describes the columns of a table. A value string holds an entry in these columns. Both are Python literals
 * in which every blank and comma is part of the form. For a table:
 *
 *   ( ('ipv4Host','mat',(False,)),(KEY,KEY,),(ACTION,ACTION,))     (True,) and two kinds of handle instead of actions,
 *                                                                  if entries point into an action profile
 *   KEY     ( 'dip','ingIpv4_dip',32,0xffffffff,'v4addr',None,None)
 *           short name, full name, width, the bits that the table really matches, how best to show it
 *   ACTION  ( ('setNextHop'),(('nextHop',None,32,None),))          name; per parameter: name, how to show it, width
 *
 *   ((( 0x01,0x0a000001,),('setNextHop',(0x00000005,)),),(0,True))
 *           key, action, priority; the key of a default entry is ()
 *
 * A field that is matched by mask is followed by a column for its mask; a field that is matched by prefix, by a column
 * for the length. Values are hexadecimal, with as many digits as the width needs, and cut to the bits that matter.
 * Values of 128 bits are whole and in upper case. Columns have the order of the key, even if the record has another.
 *
 * The functions return the length of the text and write a terminator after it. If an entry can't be read, they return 0
 * and write nothing. They take no buffer size. The longest table schema has 3,689 characters (finalDropControl), match
 * schema 3,217 (finalDropControl), action schema 263, profile schema 174, entry 330 (trapToCpu with copyPacket), match
 * value 280 (trapToCpu), and action value 109, each without its terminator. The low 8 bits of dev_id go to the driver.
 *
 *
 * Texts: lines on a file descriptor
 *
 *   <table>_match_spec_print(fd, indent, match_spec)           a title, and a line for each column
 *   <action>_print(fd, indent, action_spec)                    a line for each parameter, for actions with parameters
 *
 * Each line is a separate write. The result is that of the last write: the length of its line, or negative if it
 * failed. Earlier failures don't show. If a table matches only some bits of a field, the line names these bits and the
 * value is cut to them, except for a field of 128 bits.
 *
 *
 * Texts: addresses
 *
 *   _print_mac_exact(buffer out, label, oui, station), _print_mac_ternary(buffer out, label, oui, oui_mask, station,
 *   station_mask), _print_v4addr_exact(buffer out, label, address), _print_v4addr_lpm(buffer out, label, address,
 *   prefix_length), _print_v4addr_ternary(buffer out, label, address, mask), _print_v6addr_exact(buffer out, label,
 *   address), _print_v6addr_lpm(buffer out, label, address, prefix_length), _print_v6addr_ternary(buffer out, label,
 *   address, mask)          (with the prefix, their names have two underscores in a row)
 *
 * "dmac 0011.2233.4455 ", "dip 10.0.0.0/8 ", "dip 2001:db8::1/ffff:: ": the label, the address and a blank.
 * _print_v6addr_exact leaves out the last blank. The result is the length. If the mask is zero, the ternary forms write
 * nothing, not even a terminator, and return 0. The halves of a MAC address are 24-bit values. IPv6 addresses and masks
 * are 16 bytes in network order. Only the low 16 bits of prefix_length count. The mask of a MAC or IPv6 address is
 * shown as an address. An IPv4 mask is shown as the length of its leading run of ones.
 *
 *
 * Texts: what a counter counts, for the seven tables with a direct counter
 *
 *   <table>_match_spec_stringify_for_counter(match_spec, buffer out)
 *   <table>_stringify_counter_match_spec(sess_hdl, dev_id, entry_hdl, buffer out)
 *   stringify_counter_matchspec(sess_hdl, dev_id, tbl_hdl, entry_hdl, buffer out)       by table handle
 *
 * They write an entry's key in words: "Ingress Port 0x05 PACL/RACL Drop+/Log  ". The result is the length, at most 512.
 * If the text is empty, the entry can't be read, or the handle belongs to none of the seven tables, the result is 0,
 * and not even a terminator is written. Entries are read from the hardware, with the low 8 bits of dev_id.
 *
 *
 * Placement data: what the driver has placed or will place, as the software sees it
 *
 *   <table>_get_plcmt_data(sess_hdl, dev_tgt, ignored, ...), <profile>_get_plcmt_data, <profile>_sel_get_plcmt_data
 *       Fetch the data of an entry, member or group. They call the driver's pipe_mgr_plcmt_mat_data_get, _adt_data_get
 *       and _sel_data_get. The table's handle replaces the third argument, and all other arguments go on unchanged. The
 *       driver defines them, and how long the data is valid. The embedded driver takes a handle and the address of a
 *       const void *. It owns the data, which is valid until the entry, member or group changes.
 *   <table>_get_entry_from_plcmt_data(plcmt_data, ...)
 *       Decodes an entry as <table>_get_entry reads it, but without access to the device.
 *       Tables with actions:  [match_spec out, [priority out,]] action_record out, is_default out
 *       Tables whose entries point into an action profile:  match_spec out, [priority out,] mbr_hdl out, grp_hdl out,
 *                             has_mbr out, has_grp out, is_default out. Note that get_entry has another order.
 *       action_record is written as for a default entry (above). is_default is always 1 for a keyless table.
 *       PD_STATUS_INVALID: the action isn't the table's, which is a failed assertion. The key outputs are written then,
 *       but not action_record. PD_STATUS_NO_MEMORY as for <table>_get_entry. The kind of action data isn't checked.
 *   <profile>_get_member_from_plcmt_data(plcmt_data, action_record out)
 *   <profile>_get_full_member_info_from_plcmt_data(dev_id, mbr_hdl, plcmt_data, action_record out)
 *       Both do the same. PD_STATUS_UNEXPECTED: the action isn't the profile's, a failed assertion; nothing is written.
 *
 *   <table>_plcmt_data_value(plcmt_data, buffer out), <profile>_plcmt_data_value(plcmt_data, buffer out)
 *   plcmt_data_value(tbl_hdl, plcmt_data, buffer out), adt_plcmt_data_value(adt_hdl, plcmt_data, buffer out)
 *       Value strings: "(( 0x01,0x0a000001,),('setNextHop',(0x00000005,)),)", and for a member "('NoAction',()),". For
 *       data that can't be decoded and for an unknown handle they return 0 and write nothing.
 *   <table>_plcmt_data_print(fd, indent, plcmt_data), <profile>_adt_plcmt_data_print(fd, indent, plcmt_data)
 *   plcmt_data_print(fd, indent, tbl_hdl, plcmt_data), adt_plcmt_data_print(fd, indent, adt_hdl, plcmt_data)
 *       Print the key (for a default entry, nothing; for a keyless table, its name). Then print the action with its
 *       parameters, except for an indirect table. The result is the decoder's status, even if a write fails. Data that
 *       can't be decoded gives the line "cannot decode plcmt_data for <full name>". An unknown handle gives the line
 *       "0x0100005e table not found", and the result of its write.
 *
 *
 * Comparing with the hardware
 *
 *   <table>_plcmt_data_eq_to_hw(sess_hdl, dev_id, ignored, entry_hdl, plcmt_data, message out)
 *   plcmt_data_eq_to_hw(sess_hdl, dev_id, tbl_hdl, entry_hdl, plcmt_data, ignored, message out)
 *   <table>_match_specs_are_equal(pd, hw, message out), <action>_action_specs_are_equal(pd, hw, message out)
 *
 * Does the hardware hold what the placement data says? If so, the result is 1, and message isn't touched. If not, the
 * result is 0, and message gets one line that names the first difference, the software's value first:
 * "mspec l3Info_vrfId differs 0x1 vs 0x3", "aspec action_nextHop differs 0x5 vs 0x7", "actions differ 0x45, vs 0x11",
 * "no mbr_hdl in hw". The longest line needs 66 bytes.
 *
 * Fields are compared in key order, through the bits that the table matches. Masks and prefix lengths count as fields.
 * For a default entry, only the action is compared. Priority and resources aren't compared. For an entry of an indirect
 * table, a member is compared by handle (0 from the hardware counts as equal), and a group only by its presence.
 *
 * The result is also 0 if the hardware can't be read ("p4_pd_velmar_switch_<table>_get_entry failed"), if the data
 * can't be decoded ("Failed to decode plcmt_data in table <table>"), and for an unknown table handle ("unknown table").
 * The low 8 bits of dev_id go to the driver.
 *
 *
 * Decoding driver records
 *
 *   unbuild_key_<table>(match_record, match_spec out)
 *   unbuild_mask_<table>(match_record, match_spec out)
 *   unbuild_action_spec_<action>(action_data, resources, resource_count, action_spec out)
 *
 * They decode the driver's records, for callers that get these records from the driver themselves. unbuild_key_ clears
 * the whole record, padding included, and sets the fields. unbuild_mask_ then adds the masks or the prefix length,
 * which is the width minus the mask's trailing zeros. Bits are not trimmed. `resources` lists resource_count pairs, one
 * for each attached slot. Only actions with an index parameter use them. With a count of 0 `resources` may be null.
 */
#ifndef VL_PD_VELMAR_SWITCH_H
#define VL_PD_VELMAR_SWITCH_H

#include "vl_pd/types.h"
#include "vl_pd/velmar_switch/functions.h"
#include "vl_pd/version.h"

#endif
