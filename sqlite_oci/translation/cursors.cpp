// CURSOR(SELECT ...) in a select list: a translation of its own.
#include "translation/expression_name.h"
#include "translation/translator.h"

#include <algorithm>
#include <utility>

namespace sqlite_oci::sql
{

// The cursor's place in the row has a number, which says nothing; what its query needs stands behind the
// columns.
void translator::add_cursor(expression &tree, const name &alias, std::vector<typed_sql> &items,
                            std::vector<output_column> &columns)
{
    if (frame_ && frame_->has_common_tables)
        fail_unserved(tree.offset, "CURSOR(...) in the query of a cursor that has a WITH clause");
    translation around = std::exchange(result_, {});
    result_.binds.resize(around.binds.size());
    cursor_frame frame;
    frame.outer = frame_;
    frame_ = &frame;
    const query *const top = top_;
    add_query_step(*tree.subquery, false);
    top_ = top;
    frame_ = frame.outer;

    translation body = std::exchange(result_, std::move(around));
    if (body.uses_sequence)
        fail_at(tree.offset, 2287, "a sequence's number is not allowed in a cursor");
    std::string &sql = body.steps[0].sql;
    if (!common_sql_.empty()) {
        const bool has_own = sql.starts_with("WITH ");
        sql = "WITH RECURSIVE " + common_sql_ + (has_own ? " SELECT * FROM (" + sql + ")" : " " + sql);
    }
    const std::string_view text = text_of(tree);
    const std::size_t start = text.find('(') + 1;
    result_.cursors.push_back({columns.size(), scope_->given.size(), frame.given.size(),
                               std::string(text.substr(start, text.size() - start - 1)),
                               std::make_shared<const translation>(std::move(body))});
    scope_->given.insert(scope_->given.end(), frame.given.begin(), frame.given.end());
    items.push_back({.sql = "1", .type = cursor_type});
    columns.push_back({alias ? alias.text : expression_name(text), cursor_type, true, false});
}

// A value of a query around one or more cursors, as the innermost of them has it.
typed_sql translator::given_to(cursor_frame *cursor, const cursor_frame *from, typed_sql value,
                               std::size_t first)
{
    if (cursor == from)
        return value;
    value = given_to(cursor->outer, from, std::move(value), first);
    auto &given = cursor->given;
    auto place = std::find(given.begin(), given.end(), value.sql);
    if (place == given.end())
        place = given.insert(given.end(), value.sql);
    value.sql = "?" + std::to_string(first + static_cast<std::size_t>(place - given.begin()) + 1);
    value.is_constant = true;
    value.is_column = false;
    return value;
}

typed_sql translator::seen_from_here(const scope &in, typed_sql value) const
{
    return given_to(scope_->frame, in.frame, std::move(value), result_.binds.size());
}

bool has_unique_names(const std::vector<output_column> &columns)
{
    std::set<std::string> seen;
    for (const output_column &column : columns)
        if (!seen.insert(upper_case(column.name)).second)
            return false;
    return true;
}

} // namespace sqlite_oci::sql
