// How deep a statement nests.
#pragma once

#include "syntax/parser.h"

namespace sqlite_oci::sql
{

// Counts a level for as long as it lives. Throws when there are too many: each takes some hundred bytes of
// stack.
struct nesting {
    static constexpr int deepest = 400;

    int &depth;

    nesting(int &of, std::size_t offset) : depth(of)
    {
        if (++depth <= deepest)
            return;
        --depth;
        fail_at(offset, 913, "the statement nests more than %d levels deep", deepest);
    }
    ~nesting() { --depth; }
    nesting(const nesting &) = delete;
};

// A node with two operands.
inline expression_ptr combined(node kind, std::string word, expression_ptr left, expression_ptr right)
{
    auto result = std::make_unique<expression>(kind, left->offset);
    result->word = std::move(word);
    result->operands.push_back(std::move(left));
    result->operands.push_back(std::move(right));
    return result;
}

} // namespace sqlite_oci::sql
