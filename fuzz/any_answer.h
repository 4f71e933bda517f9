// Any answer that a driver may give to a call. It never writes more than the caller has room for.
#pragma once

#include <string>

#include "fuzz/input.h"
#include "vl_model/observe.hpp"

namespace fuzz {

// Answers a call by the bytes of the input: as the embedded driver does, or by a refusal, or by records of any content.
// Most actions in the records are those of `row`, a table or profile. Without input, the embedded driver answers.
uint64_t any_answer(Input& input, const vl_model::AnsweredCall& call, const std::string& row);

} // namespace fuzz
