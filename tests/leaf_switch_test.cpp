// The example leaf switch: what stands after the bring-up, what becomes of it if the driver refuses any one of its
// calls, and that nothing is left in the end.
#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "leaf_switch/leaf_switch.h"
#include "vl_model/control.h"
#include "vl_model/observe.h"

namespace {

using namespace leaf_switch;

const std::set<std::string> making = {"pipe_mgr_mat_ent_add", "pipe_mgr_mat_default_entry_set", "pipe_mgr_adt_ent_add",
                                      "pipe_mgr_sel_grp_add", "pipe_mgr_sel_grp_mbr_add"};
const std::set<std::string> undoing = {"pipe_mgr_mat_ent_del", "pipe_mgr_mat_tbl_default_entry_reset",
                                       "pipe_mgr_adt_ent_del", "pipe_mgr_sel_grp_del"};

class LeafSwitch : public testing::Test {
protected:
    LeafSwitch() {
        vl_model_reset();
    }
    ~LeafSwitch() override {
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        vl_model::record_calls(false);
        vl_model_reset();
    }
};

std::string refusal_of_bring_up() {
    try {
        Leaf leaf = bring_up();
        shut_down(leaf);
        return "";
    } catch (const Refused& refused) {
        return refused.what();
    }
}

TEST_F(LeafSwitch, StandsAfterTheBringUpAndIsGoneAfterTheShutDown) {
    vl_model::record_calls(true);
    Leaf leaf = bring_up();

    std::map<std::string, std::uint32_t> counts;
    for (const TableCount& table : table_counts(leaf)) {
        EXPECT_GT(table.count, 0u) << table.name;
        counts[table.name] = table.count;
    }
    EXPECT_EQ(counts["ingressPortMapping"], 8u);
    EXPECT_EQ(counts["l2DomainLookup"], 6u);
    EXPECT_EQ(counts["nextHop0"], 5u);
    EXPECT_EQ(counts["lagGroup"], 2u);
    EXPECT_EQ(counts["members of lagPortActionProfile"], 4u);
    EXPECT_EQ(spine_next_hops(leaf), (std::vector<std::uint32_t>{1, 2}));
    EXPECT_EQ(lag_ports_in_use(leaf), (std::vector<std::uint32_t>{5, 6}));

    // The shutdown looks at counted tables alone, so all that have entries must be among them.
    std::set<std::uint64_t> filled;
    std::set<std::uint64_t> looked_at;
    for (const vl_model::Call& call : vl_model::take_calls()) {
        if (call.function == "pipe_mgr_mat_ent_add") filled.insert(call.args[2]);
        if (call.function == "pipe_mgr_get_entry_count") looked_at.insert(call.args[2]);
    }
    EXPECT_GT(filled.size(), 20u);
    EXPECT_TRUE(std::includes(looked_at.begin(), looked_at.end(), filled.begin(), filled.end()));

    shut_down(leaf);
    EXPECT_TRUE(leaf.undo.empty());
    EXPECT_THROW(table_counts(leaf), Refused); // there is no device any more
    EXPECT_EQ(refusal_of_bring_up(), "");      // and all can begin anew
}

TEST_F(LeafSwitch, TellsWhatStands) {
    Leaf leaf = bring_up();
    std::ostringstream out;
    print_summary(leaf, out);
    for (const char* line :
         {"  ipv4Host                              3\n", "\nECMP group, next hops: 1 2\n", "\nLAG, ports: 5 6\n",
          "\nipv4Host, 10.0.10.11 in VRF 1: p4_pd_velmar_switch_setNextHop 101\n",
          "\nfinalDropControl, by default: p4_pd_velmar_switch_accept\n"}) {
        EXPECT_NE(out.str().find(line), std::string::npos) << line << out.str();
    }
    shut_down(leaf);
}

TEST_F(LeafSwitch, StopsAtARefusalAndTakesDownWhatStood) {
    vl_model::fail_call("pipe_mgr_sel_grp_add", 1, VL_MODEL_TABLE_FULL);
    EXPECT_EQ(refusal_of_bring_up(), std::string("adding the LAG was refused with status 9: TABLE_FULL (") +
                                         vl_model_status_text(VL_MODEL_TABLE_FULL) + ")");

    vl_model::record_calls(true);
    for (const std::string& function : making) {
        unsigned nth = 1;
        for (;; ++nth) {
            vl_model::fail_call(function, nth, VL_MODEL_BAD_DATA);
            const std::string refusal = refusal_of_bring_up();
            vl_model::clear_faults();
            const std::vector<vl_model::Call> calls = vl_model::take_calls();
            if (refusal.empty()) break;
            EXPECT_NE(refusal.find("BAD_DATA"), std::string::npos) << refusal;
            // Nothing is made after the refused call, and all that was made goes; memberships go with their group.
            std::size_t made = 0;
            std::size_t undone = 0;
            bool refused = false;
            for (const vl_model::Call& call : calls) {
                EXPECT_FALSE(refused && making.contains(call.function)) << refusal;
                if (making.contains(call.function) && call.status != 0) refused = true;
                if (call.status != 0) continue;
                made += making.contains(call.function) && call.function != "pipe_mgr_sel_grp_mbr_add";
                undone += undoing.contains(call.function);
            }
            EXPECT_TRUE(refused) << refusal;
            EXPECT_EQ(made, undone) << refusal;
        }
        EXPECT_GT(nth, 2u) << function; // there were several such calls to refuse
    }
}

TEST_F(LeafSwitch, IsTakenDownToTheEndEvenIfTheDriverKeepsAnEntry) {
    Leaf leaf = bring_up();
    vl_model::fail_call("pipe_mgr_mat_ent_del", 1, VL_MODEL_NO_MEMORY);
    try {
        shut_down(leaf);
        FAIL() << "the refusal went unnoticed";
    } catch (const Refused& refused) {
        EXPECT_EQ(std::string(refused.what()).find("removing the trap of BGP was refused with status 2: NO_MEMORY"), 0u)
            << refused.what();
    }
    EXPECT_TRUE(leaf.undo.empty());
    EXPECT_EQ(refusal_of_bring_up(), "");

    // What nobody removes is found by counting.
    leaf = bring_up();
    leaf.undo.pop_back();
    try {
        shut_down(leaf);
        FAIL() << "the entry that was left went unnoticed";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "1 left at the end in trapToCpu");
    }
}

} // namespace
