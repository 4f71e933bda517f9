/*
 * The control interface of the velmar_switch pipeline: tables, action profiles, and all that
 * goes with them.
 *
 * This is the one header that an agent includes. The functions are families: each stands once for every table, or for
 * every action of a table, and differs from its sisters in constants alone. What a family does is told here once; the
 * headers below declare its members, table by table, beside the records that they take.
 *
 * Every name has the prefix p4_pd_velmar_switch_, which is left out here, but for the unbuild_ functions, which have
 * none.
 *
 *
 * Arguments that recur
 *
 *   sess_hdl     A session of the driver. The library passes it on and never opens one.
 *   dev_tgt      Device and pipe, in operations that name an entry by its key, or a whole table or profile.
 *   dev_id       Device, in operations that name an entry, member or group by its handle. The signatures say which.
 *   match_spec   The table's record <table>_match_spec_t: one field per key field. A field that is matched by mask has
 *                its mask behind it (<field>_mask, a 1 bit is matched), one that is matched by prefix its length in
 *                bits (<field>_prefix_length). In ipv4FinalResolve0, ipv6LgMaskFinalResolve0 and ipv6FinalResolve the
 *                first field names a partition and isn't matched. Of the 32-bit l3_nextHop a key takes the low 16 bits.
 *   priority     Orders the entries of a masked table; other tables take none.
 *   action_spec  The action's record <action>_action_spec_t: one field action_<param> per parameter. Actions without
 *                parameters take none.
 *
 * Records and buffers belong to the caller and are used during the call only. Nothing returned has to be freed. Values
 * are not checked: one that is wider than its field goes to the driver as it is.
 *
 * Every pd_status is the driver's, unchanged, unless the family says otherwise. After a failure outputs are not to be
 * read: handles, counts and times are written by the driver itself, and what the library decodes is unwritten, unless
 * the family says otherwise. Functions may be called from several threads; the driver says what happens then. Of
 * read_from_hw 8 bits count: if they are all zero, the driver's copy is read and not the hardware.
 *
 * A failed assertion is logged by the driver, and the call goes on as its family says. In the driver's debug mode it
 * stops the process instead. Assertions fail in <table>_get_entry, get_member and the decoders of placement data on a
 * driver's answer that can't come from this pipeline; and on a meter_type outside PD_METER_TYPE_... in meter_set_ and
 * in the adds, modifies and set_default_action_ of l2LookupMiss.
 *
 *
 * Callbacks
 *
 * A callback and its cookie go to the driver as they are, and the driver calls it. How a registration ends, from which
 * thread a callback comes and what it may call are the driver's to say. Its type is the driver's too; pass it cast to
 * pd_driver_callback. Integers are uint32_t here, and a dev_tgt goes by value:
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
 * These are the types of the boundary in vl_driver/: pipe_mat_update_cb, pipe_idle_tmo_cb, pipe_idle_hit_state_cb,
 * pipe_adt_update_cb, pipe_sel_update_cb, pipe_sel_tbl_cb, pipe_sync_cb, pipe_digest_cb.
 *
 *
 * The program
 *
 *   init()                          Once, before anything else: sets up the shadow of the action profiles and registers
 *                                   with the driver, which from then on calls back when a device goes away and when it
 *                                   saves or restores a device's state. If the driver refuses the registration, the
 *                                   process stops. A second call is not guarded against.
 *   cleanup()                       At the end: deregisters. Returns the driver's status. Frees nothing.
 *   device_state_cleanup()          Does nothing; it stands for agents that call it.
 *   bf_drv_hdl                      (no prefix) The handle of this library as the driver's client.
 *   action_name_strings[]           The full names of all actions, by action number (enum ..._action).
 *   action_enum_to_string(number)   The full name; null for a number above the last.
 *   action_string_to_enum(name)     The number of a full name, prefix included; ..._action_count for null or a name
 *                                   that no action has.
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
 * Each makes one driver call. The driver writes the handle of a new or found entry; after a failed call entry_hdl
 * holds what the driver left there. An entry of a masked table is found by key and priority together. Which bits of a
 * key are told apart is decided by mask and prefix: value bits that neither covers are cleared. A prefix length above
 * the field's width is sent as a priority that no prefix has, for the driver to refuse.
 *
 * meter_spec stands in l2LookupMiss alone. An add must have one; without it the entry's meter slot is sent unset. A
 * modify without one (null) leaves the entry's meter as it is. A meter_type outside PD_METER_TYPE_... is a failed
 * assertion, and sent as colour aware.
 *
 * ttl stands in the adds of l2LearningLookup alone: the entry's first time-to-live, in the driver's unit.
 *
 * Five parameters are indices into a counter, meter, WRED block or register and no action data: `index` of runWred and
 * of setQueueReportFlagFinal, `meterIndex` of setIngressMirrorColor and of setEgressMirrorColor, `counterIndex` of
 * setPdpClassCount. `pdpClassId` of meterPdpClass is both. An add uses the low 16 bits of an index, a modify all 32.
 *
 *
 * Reading entries
 *
 *   <table>_get_entry(sess_hdl, dev_id, entry_hdl, read_from_hw, ...)
 *       Reads one entry, from the hardware if bits 0 to 7 of read_from_hw are not all zero, else the driver's copy.
 *       Tables with actions:  [match_spec out, [priority out,]] action_name out, action_spec out, action_id out
 *                             [, is_default out]
 *       Tables whose entries point into an action profile:  match_spec out, [priority out,] has_mbr out, has_grp out,
 *                             grp_hdl out, mbr_hdl out, is_default out
 *       Keyless tables have neither match_spec nor is_default.
 *
 *       action_name and action_id may be null. action_name needs room for 61 bytes and gets the full name; action_id
 *       gets the action's number; action_spec must hold the largest record of the table's actions and gets that of the
 *       action which action_id names, if it has parameters. An index parameter (above) comes from the entry's attached
 *       resource; it is PD_NO_INDEX if the driver reports none, and 0 if it reports others only.
 *       is_default is 1 for the table's default entry, which has no key: match_spec is then all zero.
 *       An entry that points at a member sets has_mbr and mbr_hdl, one that points at a group has_grp and grp_hdl; the
 *       other flag is 0 and the other handle isn't written.
 *
 *       PD_STATUS_UNEXPECTED: the driver's answer holds no action data (nothing is written), or an action that isn't
 *       the table's (match_spec, priority and is_default are written, the action outputs are not). Both are failed
 *       assertions. PD_STATUS_NO_MEMORY: no memory for the list of the entry's resources; nothing is written.
 *
 *   <table>_get_entry_count(sess_hdl, dev_tgt, count out)
 *   <table>_get_first_entry_handle(sess_hdl, dev_tgt, entry_hdl out)
 *   <table>_get_next_entry_handles(sess_hdl, dev_tgt, entry_hdl, n, next_entry_hdls out)
 *       A walk asks for the first handle, and then for up to n handles behind the last one that it has. PD_HDL_END in
 *       the array, which holds n handles, ends the list. All three are the driver's answers, failures included.
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
 * What a table does with a packet that no entry matches; keyless tables have nothing else. Actions that may be a
 * default have a set_default_action_; tables whose entries point into an action profile have set_default_entry (below)
 * instead, and the second form of the read. A set sends what an add of the same action sends. l2LookupMiss takes a
 * meter_spec with NoAction: null detaches the meter from the default entry.
 *
 * A read writes the action's number and, if the action has parameters, its record from byte 4 on: a pd_action_record
 * has room for any. It writes no more than that. PD_STATUS_UNEXPECTED, without a log line, and nothing written: the
 * driver's answer holds no action data, or an action that isn't the table's; in the second form, neither a member nor
 * a group. PD_STATUS_NO_MEMORY as for <table>_get_entry. A reset puts back what the driver started with.
 *
 *
 * Tables themselves
 *
 *   <table>_get_mat_table_handle(tbl_hdl out)           tbl_hdl may be null. Needs no driver; always 0.
 *   <table>_supports_entry_priority()                   1 for masked tables, else 0.
 *   <table>_<field>_width()                             The width in bits of a key field, named as in the record; of a
 *                                                       validity field <header>_valid the function is <header>_width.
 *   <table>_get_property(sess_hdl, dev_id, property, value out, args out)
 *                                                       Both outputs are 0xFFFFFFFF after a failure.
 *   <table>_set_property(sess_hdl, dev_id, property, value, args)
 *   <table>_register_mat_update_cb(sess_hdl, dev_id, callback, cookie)
 *
 * Property numbers and values are the driver's.
 *
 *
 * Idle time, of the tables that age their entries
 *
 *   <table>_idle_tmo_enable(sess_hdl, dev_id, params)   Sets the parameters (by value) and switches ageing on, in two
 *                                                       driver calls; if the second fails the parameters stay set.
 *   <table>_idle_tmo_disable(sess_hdl, dev_id)
 *   <table>_idle_register_tmo_cb(sess_hdl, dev_id, callback, cookie)
 *   <table>_idle_params_get(sess_hdl, dev_id, params out)
 *                                                       Writes mode, and the other fields only if mode is 1.
 *   <table>_set_ttl(sess_hdl, dev_id, entry_hdl, ttl), _get_ttl(sess_hdl, dev_id, entry_hdl, ttl out)
 *   <table>_reset_ttl(sess_hdl, dev_id, entry_hdl)
 *   <table>_update_hit_state(sess_hdl, dev_id, callback, cookie)
 *   <table>_get_hit_state(sess_hdl, dev_id, entry_hdl, hit_state out)
 *                                                       After a failure hit_state is written, and means nothing.
 *
 * Modes, times and hit states are the driver's. An add sends a time-to-live of 0, but for l2LearningLookup (above).
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
 * A member is an instance of an action that many entries share. The driver holds it; the library keeps a shadow of
 * which members there are and with which action, written after the driver has accepted a change. A member keeps its
 * action for life: a modify that names another one is PD_STATUS_MISMATCH, one of an unknown member the shadow's
 * status, both without a driver call. get_member writes action_record like a read of a default entry; an action that
 * isn't the profile's is a failed assertion and PD_STATUS_UNEXPECTED. Callers that share a profile serialise
 * themselves: a driver call and what follows it in the shadow are not one step. tbl_hdl may be null in
 * get_adt_table_handle and get_sel_table_handle, which need no driver.
 *
 * Should the shadow fail after the driver has accepted a change, the change stands, and the result is 0 but for
 * del_group, which returns the shadow's status. What follows depends on the change:
 *
 *   add_member, create_group      Later operations that need the action of the member or group get the shadow's status.
 *   del_member, del_group         The shadow still knows what the driver doesn't: later operations get the driver's.
 *   add_member_to_group           The shadow may lack the membership, and its saved state lacks it then. The group may
 *                                 keep the action that it had; if it had none, entries can't point at it: they get the
 *                                 shadow's status.
 *   del_member_from_group         The shadow keeps the membership, and its saved state has it.
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
 *       entries; the members of a group by dev_id, all else by dev_tgt
 *   <profile>_get_selector_group_count, _get_selector_group_member_count
 *   <profile>_get_word_llp_active_member_count, _get_word_llp_active_members: by a word of the selector, the driver's
 *   <profile>_group_member_get_from_hash(sess_hdl, dev_tgt, grp_hdl, hash, hash_len, mbr_hdl out): which member
 *       the driver chooses for a hash of hash_len bytes
 *   <profile>_register_callback, _register_sel_update_cb(sess_hdl, dev_tgt, callback, cookie),
 *       _sel_track_updates(dev_id, callback, cookie): the first again, without a session
 *   <profile>_get_sel_table_handle(tbl_hdl out)
 *
 * The data plane chooses among the active members of a group by a hash per packet. A group takes over the action of
 * the member that joined last, and keeps it when members leave; entries that point at the group carry that action. A
 * member that the shadow doesn't know can't join: the shadow's status, without a driver call. mbr_state is
 * P4_PD_GRP_MBR_STATE_ACTIVE or _INACTIVE; a set of any other value is PD_STATUS_INVALID, and a get writes nothing,
 * and returns 0, if the driver says another one. del_group needs memory for the list of members (PD_STATUS_NO_MEMORY,
 * and the group stands), and returns the shadow's status once the driver has deleted the group.
 *
 *
 * Entries that point into a profile, of ecmpGroup, lagGroup, tunnelResolve, ingressMirrorLagGroup,
 * egressMirrorLagGroup
 *
 *   <table>_add_entry(sess_hdl, dev_tgt, match_spec, [priority], mbr_hdl, entry_hdl out)
 *   <table>_modify_entry(sess_hdl, dev_id, entry_hdl, mbr_hdl)
 *   <table>_modify_entry_by_match_spec(sess_hdl, dev_tgt, match_spec, [priority], mbr_hdl)
 *   <table>_set_default_entry(sess_hdl, dev_tgt, mbr_hdl, entry_hdl out)
 *   and the same four with _with_selector behind entry, which take grp_hdl in place of mbr_hdl
 *
 * The driver is told the action of the member or group as well, from the shadow: a target that the shadow doesn't
 * know, or a group that no member ever joined, gives the shadow's status, without a driver call. An entry may change
 * from a member to a group and back.
 *
 *
 * After a restart of the agent
 *
 *   restore_virtual_dev_state(a1, a2, a3, a4, a5)
 *
 * The driver keeps its tables over a restart of the agent, the shadow is lost. It comes back in one of two ways: from
 * the device state that the driver saved and hands back through the callback that init() has registered, or by this
 * call, in which the driver replays its members, groups and memberships. The five words are between agent and driver,
 * which may keep the callback. init() comes first, and no member or group operation may run during the replay. The
 * action of a group is then that of the last of its members in the replay; a group that had lost its members before the
 * restart has no action until one joins. What can't be restored is left out without a report, and so is what a device
 * state lacks that was saved while memory was short: members, groups, or whole profiles.
 *
 *
 * Walking by handle, for callers that hold a table's or profile's handle as data
 *
 *   entry_hdl_first(sess_hdl, dev_tgt, tbl_hdl, entry_hdl out)
 *   entry_hdl_next(sess_hdl, dev_tgt, tbl_hdl, entry_hdl, n, next_entry_hdls out)
 *   entry_hdl_default(sess_hdl, dev_tgt, tbl_hdl, entry_hdl out)
 *   member_hdl_first(sess_hdl, dev_tgt, adt_hdl, mbr_hdl out)
 *   member_hdl_next(sess_hdl, dev_tgt, adt_hdl, mbr_hdl, n, next_mbr_hdls out)
 *
 * What the table's or profile's own function gives. For a handle that is no table's, PD_HDL_END in the (first) output
 * and status 0; for one that is no profile's, PD_HDL_END and PD_STATUS_MISMATCH.
 *
 *
 * Counters
 *
 *   counter_read_<counter>(sess_hdl, dev_id, entry_hdl, flags, value out)   direct: a cell per entry of a match table
 *   counter_read_<counter>(sess_hdl, dev_tgt, index, flags, value out)      indirect: an array of cells
 *   counter_write_<counter>(sess_hdl, dev_tgt, entry_hdl or index, value)   by value
 *   counter_hw_sync_<counter>(sess_hdl, dev_tgt, callback, cookie)          all cells, software from hardware
 *
 * Bit 0 of flags brings the cell up to date from the hardware before it is read. Which count is packets and which bytes
 * is the driver's to say. An index is not checked here.
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
 * The meters of the pipeline count bytes; by handle, packets too. meter_type goes to the driver by PD_METER_TYPE_...
 * and comes back as the driver has it; numbers come back as their low 32 bits. A meter_type outside PD_METER_TYPE_...
 * is a failed assertion in meter_set_<meter>, and sent as colour aware; by handle it is PD_STATUS_INVALID without a
 * driver call, and so is a colour aware meter without has_pre_color (of which 8 bits count). WRED specs are copied as
 * they are.
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
 * A cell holds a flag (uint8_t: any value but 0 is written as 1), a word (uint32_t) or a pair of words, and reads as
 * one value for each instance of it in the hardware. The caller gives room for all of them: as many as the driver says
 * for a cell (its number of pipes, say), times count for a range; they follow each other with no gaps. Bit 0 of flags
 * goes to the driver. The lists that a read allocates live in the driver's memory and are freed before it returns.
 * PD_STATUS_NO_MEMORY: no memory for them; no cell was read and nothing is written.
 *
 * The count of a range is signed. With a count of 0 the driver is asked all the same; a negative count is
 * PD_STATUS_NO_MEMORY, once the driver has told how many values a cell has. count times that number must stay below
 * 2^31: the library doesn't check it.
 *
 *   register_read_indirect(sess_hdl, dev_tgt, reg_hdl, index, flags, query), register_read_direct(sess_hdl, dev_tgt,
 *   tbl_hdl, entry_hdl, flags, query), register_write_indirect, register_write_all_indirect,
 *   register_reset_all_indirect, register_range_reset_indirect, register_hw_sync_indirect, register_hw_sync_direct: any
 *   register by handle, with the driver's records. register_write_direct(sess_hdl, dev_id, reg_hdl, entry_hdl, value)
 *   takes the 16 bytes by value, and 8 bits of dev_id; reg_hdl goes to the driver twice, as the register of the slot
 *   and in the place of a table.
 *
 *
 * Learning digests
 *
 *   <digest>_register(sess_hdl, dev_id, callback, cookie), <digest>_deregister(sess_hdl, dev_id)
 *   <digest>_notify_ack(sess_hdl, message)                          gives a message back once it is dealt with
 *   set_learning_timeout(sess_hdl, dev_id, timeout)                 one for the device
 *   get_digest_entry_size(digest)                                   bytes of an entry; 0 for an unknown name
 *   get_digest_entry_field(entry, digest, field, size out)          the field's address in the entry; null, and size 0,
 *                                                                   for an unknown name
 *
 * Entries are packed; the bytes of a field are the driver's, and are not converted. Of dev_id 8 bits reach the driver.
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
 * A value is 0xFFFFFFFF after a failed _get_property. All else is the driver's.
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
 * A calculation has one algorithm and one input, and both are named 0; another number goes to the driver as handle 0 in
 * a set. A get is PD_STATUS_INVALID, with nothing written, if the driver names anything else, or nothing because it
 * failed. The attribute reads use the input that the driver says is in force. If that is the calculation's, another one
 * than 0 is PD_STATUS_INVALID; the first of them has then written 0 to count. Of attr_value 32 bits travel.
 * PD_STATUS_NO_MEMORY: no memory for the driver's records or for the stream.
 *
 * calculate_hash_value predicts the hash of a packet: the values of `count` fields, widths[i] bits each, are packed to
 * one big-endian number with the first field at the top and no alignment between them. A field of up to 32 bits has its
 * value in attr_value, a wider one its bytes at attr_bytes, most significant first. Values must fit their widths.
 *
 *
 * Snapshots
 *
 *   snapshot_create(dev_tgt, start_stage, end_stage, direction, snapshot_hdl out), snapshot_delete(snapshot_hdl)
 *   snapshot_capture_trigger_set(snapshot_hdl, value, mask)
 *   snapshot_capture_data_get(snapshot_hdl, pipe, stages out, capture_ctrl out, count out)
 *
 * A trigger's records are in the machine's byte order and packed without alignment, in one of two layouts, which bit 1
 * of the handle tells apart. `stages` has room for PD_SNAPSHOT_MAX_STAGES records. As many are filled as the service
 * reports stages, at most PD_SNAPSHOT_MAX_STAGES; with zeros if it then fails to deliver them. If it refuses to tell
 * the sizes, it is asked for the capture all the same, with a buffer of no bytes: its status is the result, and no
 * record is filled. PD_STATUS_NO_MEMORY: no memory for the capture; count is 0 and no record is filled.
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
 *                                                              by table handle; 0 for any other, and nothing is written
 *
 * A schema says which columns a table has, and a value string holds an entry in these columns; both are Python
 * literals, of which every blank and comma is part of the form. Of a table:
 *
 *   ( ('ipv4Host','mat',(False,)),(KEY,KEY,),(ACTION,ACTION,))     (True,) and two kinds of handle in place of actions
 *                                                                  where entries point into an action profile
 *   KEY     ( 'dip','ingIpv4_dip',32,0xffffffff,'v4addr',None,None)
 *           short and full name, width, the bits that the table really matches, how best shown
 *   ACTION  ( ('setNextHop'),(('nextHop',None,32,None),))          name; name, how shown and width of each parameter
 *
 *   ((( 0x01,0x0a000001,),('setNextHop',(0x00000005,)),),(0,True))
 *           key, action, priority; a default entry has () for a key
 *
 * A field that is matched by mask has its mask in a column behind it, one matched by prefix the length. Values are
 * hexadecimal, cut to the bits that count, with as many digits as the width needs; those of 128 bits are whole, in
 * upper case. The order is that of the key, also where the record has another.
 *
 * The result is the length of the text, whose terminator is written too; 0 if an entry can't be read, and nothing is
 * written. No size is passed: the longest table schema has 3,689 characters (finalDropControl), match schema 3,217
 * (finalDropControl), action schema 263, profile schema 174; entry 330 (trapToCpu with copyPacket), match value 280
 * (trapToCpu), action value 109 - each without its terminator. Of dev_id 8 bits reach the driver.
 *
 *
 * Texts: lines on a file descriptor
 *
 *   <table>_match_spec_print(fd, indent, match_spec)           a title, and a line for each column
 *   <action>_print(fd, indent, action_spec)                    a line for each parameter; of actions that have any
 *
 * Each line is a write of its own. The result is that of the last: its length, or negative if it failed; failures
 * before it don't show. A field of which a table matches only some bits has these in its line, and is cut to them, but
 * for those of 128 bits.
 *
 *
 * Texts: addresses
 *
 *   _print_mac_exact(buffer out, label, oui, station), _print_mac_ternary(buffer out, label, oui, oui_mask, station,
 *   station_mask), _print_v4addr_exact(buffer out, label, address), _print_v4addr_lpm(buffer out, label, address,
 *   prefix_length), _print_v4addr_ternary(buffer out, label, address, mask), _print_v6addr_exact(buffer out, label,
 *   address), _print_v6addr_lpm(buffer out, label, address, prefix_length), _print_v6addr_ternary(buffer out, label,
 *   address, mask)          (their names have two underscores behind the prefix)
 *
 * "dmac 0011.2233.4455 ", "dip 10.0.0.0/8 ", "dip 2001:db8::1/ffff:: ": the label, the address and a blank, which
 * _print_v6addr_exact leaves out. The result is the length. With a mask of zero the ternary forms write nothing, not
 * even a terminator, and return 0. The halves of a MAC address are 24-bit values; IPv6 addresses and masks are 16 bytes
 * in network order; of prefix_length 16 bits count. A mask is shown as a MAC or IPv6 address; of an IPv4 mask the
 * leading run of ones is shown as a length.
 *
 *
 * Texts: what a counter counts, of the seven tables with a counter of their own
 *
 *   <table>_match_spec_stringify_for_counter(match_spec, buffer out)
 *   <table>_stringify_counter_match_spec(sess_hdl, dev_id, entry_hdl, buffer out)
 *   stringify_counter_matchspec(sess_hdl, dev_id, tbl_hdl, entry_hdl, buffer out)       by table handle
 *
 * An entry's key in words: "Ingress Port 0x05 PACL/RACL Drop+/Log  ". The result is the length, at most 512. It is 0,
 * and nothing is written, not even a terminator, if the key has nothing to say, if the entry can't be read, or if the
 * handle is none of the seven tables'. Entries are read from the hardware; of dev_id 8 bits reach the driver.
 *
 *
 * Placement data: what the driver placed, or means to place, as the software sees it
 *
 *   <table>_get_plcmt_data(sess_hdl, dev_tgt, ignored, ...), <profile>_get_plcmt_data, <profile>_sel_get_plcmt_data
 *       Fetch the data of an entry, a member or a group. They are the driver's functions pipe_mgr_plcmt_mat_data_get,
 *       _adt_data_get and _sel_data_get with the table's handle as third argument, in place of whatever stands there.
 *       All other arguments go on as they are, and what they are is the driver's to say, as is how long the data is
 *       valid. The embedded driver takes a handle and the address of a const void *, and what it gives is its own, and
 *       valid until the entry, member or group changes.
 *   <table>_get_entry_from_plcmt_data(plcmt_data, ...)
 *       Decodes an entry without access to the device, as <table>_get_entry reads it.
 *       Tables with actions:  [match_spec out, [priority out,]] action_record out, is_default out
 *       Tables whose entries point into an action profile:  match_spec out, [priority out,] mbr_hdl out, grp_hdl out,
 *                             has_mbr out, has_grp out, is_default out; mind that a read has another order
 *       action_record is written like a default entry's (above). is_default is always 1 for a keyless table.
 *       PD_STATUS_INVALID: the action isn't the table's, a failed assertion; the key outputs are written, action_record
 *       isn't. PD_STATUS_NO_MEMORY as for <table>_get_entry. The kind of action data isn't looked at.
 *   <profile>_get_member_from_plcmt_data(plcmt_data, action_record out)
 *   <profile>_get_full_member_info_from_plcmt_data(dev_id, mbr_hdl, plcmt_data, action_record out)
 *       PD_STATUS_UNEXPECTED: an action that isn't the profile's, a failed assertion; nothing is written. Both give the
 *       same.
 *
 *   <table>_plcmt_data_value(plcmt_data, buffer out), <profile>_plcmt_data_value(plcmt_data, buffer out)
 *   plcmt_data_value(tbl_hdl, plcmt_data, buffer out), adt_plcmt_data_value(adt_hdl, plcmt_data, buffer out)
 *       Value strings: "(( 0x01,0x0a000001,),('setNextHop',(0x00000005,)),)", of a member "('NoAction',()),". 0, and
 *       nothing is written, for data that can't be decoded and for a handle that is nobody's.
 *   <table>_plcmt_data_print(fd, indent, plcmt_data), <profile>_adt_plcmt_data_print(fd, indent, plcmt_data)
 *   plcmt_data_print(fd, indent, tbl_hdl, plcmt_data), adt_plcmt_data_print(fd, indent, adt_hdl, plcmt_data)
 *       Print lines: the key, unless it is a default entry, or the name of a keyless table; then the action with its
 *       parameters, which an indirect table has none of. The result is the decoder's status, whatever the writes gave;
 *       data that can't be decoded gets the line "cannot decode plcmt_data for <full name>". A handle that is nobody's
 *       gets the line "0x0100005e table not found", and the result is that of the write.
 *
 *
 * Comparing with the hardware
 *
 *   <table>_plcmt_data_eq_to_hw(sess_hdl, dev_id, ignored, entry_hdl, plcmt_data, message out)
 *   plcmt_data_eq_to_hw(sess_hdl, dev_id, tbl_hdl, entry_hdl, plcmt_data, ignored, message out)
 *   <table>_match_specs_are_equal(pd, hw, message out), <action>_action_specs_are_equal(pd, hw, message out)
 *
 * Does what the placement data says still stand in the hardware? 1 if so, and message isn't touched; else 0, and
 * message holds one line that names the first difference, software first: "mspec l3Info_vrfId differs 0x1 vs 0x3",
 * "aspec action_nextHop differs 0x5 vs 0x7", "actions differ 0x45, vs 0x11", "no mbr_hdl in hw". 66 bytes hold the
 * longest.
 *
 * Fields are compared in key order, through the bits that the table matches, masks and prefix lengths as fields of
 * their own; of a default entry the action alone. Priority and resources aren't compared. Of an indirect table's entry
 * the member is compared, of a group that there is one; a member 0 in the hardware passes.
 *
 * It is 0 as well if the hardware can't be read ("p4_pd_velmar_switch_<table>_get_entry failed"), if the data can't be
 * decoded ("Failed to decode plcmt_data in table <table>"), and for a handle that is no table's ("unknown table"). Of
 * dev_id 8 bits reach the driver.
 *
 *
 * Decoding driver records
 *
 *   unbuild_key_<table>(match_record, match_spec out)
 *   unbuild_mask_<table>(match_record, match_spec out)
 *   unbuild_action_spec_<action>(action_data, resources, resource_count, action_spec out)
 *
 * The way back from the driver's records, for callers that get them from the driver themselves. unbuild_key_ clears
 * the whole record, padding included, and sets the fields; unbuild_mask_ then adds masks or the prefix length (the
 * width less the trailing zeros of the mask). Bits are not trimmed. `resources` lists resource_count pairs, one for
 * each attached slot, for actions with an index parameter; others ignore it, and with a count of 0 it may be null.
 */
#ifndef VL_PD_VELMAR_SWITCH_H
#define VL_PD_VELMAR_SWITCH_H

#include "vl_pd/types.h"
#include "vl_pd/velmar_switch/functions.h"

#endif
