// SPDX-License-Identifier: Apache-2.0
#include "render/query/query.h"

#include "render/query/query_rows.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace orca::render {

namespace {

using Answer = bool (*)(const Query&);

bool unknown(const Query&) {
    return false;
}

/// The answers of all families by code.
std::vector<Answer> answersByCode() {
    std::vector<Answer> answers;
    for (const auto rows : {declarationQueries(), functionQueries(), instanceQueries(), lightQueries(),
                            rendererQueries(), stateQueries(), userdataQueries()})
        for (const QueryRow& row : rows) {
            const auto code = static_cast<std::size_t>(row.code);
            answers.resize(std::max(answers.size(), code + 1), unknown);
            answers[code] = row.answer;
        }
    return answers;
}

// Not in the function, where every question would ask whether it has been made.
const std::vector<Answer> answers = answersByCode();

} // namespace

bool answerQuery(miQ_type code, const Query& query) {
    const auto index = static_cast<std::size_t>(code);
    return index < answers.size() && answers[index](query);
}

} // namespace orca::render
