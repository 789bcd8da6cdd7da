#include "statements/statement.h"

#include <algorithm>

namespace sqlite_oci
{
namespace
{

constexpr int ora_open_literal = 1756; // the one error of a text that its preparation tells

// SQLite's own limit of columns in a result.
constexpr ub4 most_columns = 2000;

// A program that lets each bind make a new handle, and prepares over and over, must not fill the memory.
constexpr std::size_t most_unused_variables = 256;

// Keeps the variables in `used` and the youngest of the others, in this order of age.
template <class T> void drop_oldest(std::vector<owned<T>> &all, const std::vector<T *> &used)
{
    std::stable_partition(all.begin(), all.end(), [&](const auto &one) {
        return std::find(used.begin(), used.end(), one.get()) == used.end();
    });
    if (all.size() > most_unused_variables)
        all.erase(all.begin(), all.end() - static_cast<std::ptrdiff_t>(most_unused_variables));
}

template <class T> bool release_from(std::vector<owned<T>> &all, std::vector<T *> &used, variable *freed)
{
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const auto &one) { return one.get() == freed; });
    if (found == all.end())
        return false;
    std::replace(used.begin(), used.end(), found->get(), static_cast<T *>(nullptr));
    all.erase(found);
    return true;
}

template <class T> T &add_to(std::vector<owned<T>> &all, statement &owner)
{
    owned<T> made(new T(owner));
    make_handle(*made, T::handle_kind);
    all.push_back(std::move(made));
    return *all.back();
}

} // namespace

void statement::prepare(std::string sql)
{
    take_text(std::move(sql));
    compiled_.reset();
}

// All but what is compiled: that waits for its connection.
void statement::take_text(std::string sql)
{
    check_idle();
    is_prepared = false;
    text = analyse(std::move(sql));
    for (const sql::token &one : text.tokens)
        if (one.error == ora_open_literal)
            fail(ora_open_literal, "quoted string not properly terminated");
    is_prepared = true;
    is_executed = false;
    is_described = false;
    is_cancelled_ = was_tried_ = false;
    error_offset = 0;
    row_count = rows_fetched = batch_error_count = column_count = current_row = 0;
    rows_.clear();
    columns_.clear();
    give_up_pieces();
    forget_parameters();
    opened_.reset();
    cursor_origin_.reset();
    locked_.clear();
    forget_variables();
}

void statement::forget_variables()
{
    drop_oldest(binds_, bound_);
    drop_oldest(defines_, defined_);
    for (const auto &one : binds_)
        one->placeholders.clear();
    bound_.assign(text.placeholders.size(), nullptr);
    defined_.clear();
}

std::string statement::row_identity() const
{
    if (changed_row_)
        return row_id_to_text(*changed_row_);
    const sqlite3_int64 locked = current_row ? locked_.identity(current_row - 1) : 0;
    return locked ? row_id_to_text(locked) : std::string();
}

bind &statement::bind_position(bind *known, ub4 position)
{
    check_idle();
    if (position == 0 || position > bound_.size())
        fail(1036, "illegal variable name/number");
    return bind_placeholders(known, {position - 1});
}

bind &statement::bind_name(bind *known, std::string_view name)
{
    check_idle();
    const std::string wanted = sql::upper_case(name.starts_with(':') ? name.substr(1) : name);
    std::vector<std::size_t> placeholders;
    for (std::size_t i = 0; i < text.placeholders.size(); ++i)
        if (text.placeholders[i].name == wanted)
            placeholders.push_back(i);
    if (placeholders.empty())
        fail(1036, "illegal variable name/number");
    return bind_placeholders(known, std::move(placeholders));
}

bind &statement::bind_placeholders(bind *known, std::vector<std::size_t> placeholders)
{
    bind *const present = bound_[placeholders.front()];
    if (present && present->placeholders == placeholders)
        known = present;
    else if (known && std::find(bound_.begin(), bound_.end(), known) != bound_.end())
        known = nullptr;
    bind &used = known ? *known : add_to(binds_, *this);
    std::replace(bound_.begin(), bound_.end(), &used, static_cast<bind *>(nullptr));
    for (const std::size_t placeholder : placeholders)
        bound_[placeholder] = &used;
    used.placeholders = std::move(placeholders);
    return used;
}

define &statement::define_position(define *known, ub4 position)
{
    check_idle();
    if (position == 0 || position > most_columns || (is_described && position > column_count))
        fail(1007, "the query has no column %u", position);
    if (defined_.size() < position)
        defined_.resize(position);
    if (define *const present = defined_[position - 1])
        known = present;
    else if (known && std::find(defined_.begin(), defined_.end(), known) != defined_.end())
        known = nullptr;
    define &used = known ? *known : add_to(defines_, *this);
    std::replace(defined_.begin(), defined_.end(), &used, static_cast<define *>(nullptr));
    defined_[position - 1] = &used;
    used.position = position;
    return used;
}

variable &statement::make_variable(ub4 of_kind)
{
    if (of_kind == OCI_HTYPE_BIND)
        return add_to(binds_, *this);
    return add_to(defines_, *this);
}

bool statement::release(variable *freed)
{
    if (awaited_.of == freed)
        give_up_pieces();
    return release_from(binds_, bound_, freed) || release_from(defines_, defined_, freed);
}

} // namespace sqlite_oci
