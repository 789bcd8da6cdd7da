// Binds and defines: the application's side of a statement.
#include "statements/statement.h"

#include <algorithm>
#include <utility>

namespace sqlite_oci
{
namespace
{

constexpr int ora_null_fetched = 1405;
constexpr int ora_cut = 1406;
constexpr int ora_null_or_cut = 24345;
constexpr sb2 longest_indicated = 32767;
constexpr sb2 cut_beyond_indication = -2;

ub2 length_for_caller(std::size_t length)
{
    return static_cast<ub2>(std::min<std::size_t>(length, 0xffff));
}

void set_code(ub2 *code, int value)
{
    if (code)
        *code = static_cast<ub2>(value);
}

} // namespace

variable::variable(statement &of) : object(of.env), owner(of) {}

host_array describe_array(const environment &env, void *valuep, sb4 value_sz, ub2 dty, void *indp,
                          ub2 *lengths, ub2 *codes)
{
    host_array array;
    array.host.type = dty;
    array.host.size = is_descriptor(dty) ? sizeof(void *)
                      : value_sz < 0     ? 0
                                         : static_cast<std::size_t>(value_sz);
    array.host.set = env.set;
    array.host.has_length = lengths != nullptr;
    array.values = valuep;
    array.indicators = static_cast<sb2 *>(indp);
    array.lengths = lengths;
    array.codes = codes;
    array.value_skip = array.host.size;
    return array;
}

host_reader required_reader(const host_type &host)
{
    const host_reader reader = find_reader(host);
    if (!reader)
        fail(3115, "binds of type %u with a size of %zu bytes are not served", host.type, host.size);
    return reader;
}

host_writer required_writer(const host_type &host)
{
    const host_writer writer = find_writer(host);
    if (!writer)
        fail(3115, "defines of type %u with a size of %zu bytes are not served", host.type, host.size);
    return writer;
}

void variable::describe(const host_array &described)
{
    host_array before = std::exchange(array, described);
    try {
        find_conversion();
    } catch (...) {
        array = before;
        throw;
    }
}

void variable::set_form(ub1 form)
{
    host_array changed = array;
    changed.form = form;
    if (!changed.set_id)
        changed.host.set = form == SQLCS_NCHAR ? env->national : env->set;
    describe(changed);
}

void variable::set_set_id(ub2 id)
{
    host_array changed = array;
    changed.set_id = id;
    changed.host.set = id ? env->set_from_id(id) : changed.form == SQLCS_NCHAR ? env->national : env->set;
    describe(changed);
}

void variable::set_skips(ub4 value, ub4 indicator, ub4 length, ub4 code)
{
    array.value_skip = value;
    array.indicator_skip = indicator;
    array.length_skip = length;
    array.code_skip = code;
}

value bind::value_of(std::size_t row)
{
    if (is_dynamic)
        return gather(row);
    const sb2 *indicator = array.indicator_at(row);
    if ((indicator && *indicator == OCI_IND_NULL) || !array.values)
        return {};
    const ub2 *length = array.length_at(row);
    const std::size_t size = length ? std::min<std::size_t>(*length, array.host.size) : array.host.size;
    return reader_(array.host, array.value_at(row), size, scratch_);
}

const void *define::descriptor_at(std::size_t row) const
{
    if (is_dynamic)
        return given_descriptor_;
    return is_descriptor(array.host.type) && array.values ? pointer_in(array.value_at(row)) : nullptr;
}

void define::store(const value &fetched, std::size_t row, fetch_outcome &outcome) const
{
    if (is_dynamic)
        return give(fetched, row, outcome);
    if (fetched.kind == value_kind::null)
        return store_null(row, outcome);
    if (!array.values || !writer_)
        return;
    const written result = writer_(array.host, fetched, array.value_at(row));
    if (result.error) {
        set_code(array.code_at(row), result.error);
        if (outcome.error.code == 0)
            outcome.error = make_record(result.error, conversion_error_text(result.error) + column_text());
        return;
    }
    if (ub2 *length = array.length_at(row))
        *length = length_for_caller(result.stored);
    if (result.whole > result.stored)
        return report_cut(result, row, outcome);
    if (sb2 *indicator = array.indicator_at(row))
        *indicator = OCI_IND_NOTNULL;
    set_code(array.code_at(row), 0);
}

// Without an indicator a program cannot see the null: that is an error, or a warning where at least the
// return code tells it.
void define::store_null(std::size_t row, fetch_outcome &outcome) const
{
    if (lob_locator *locator = locator_at(row))
        locator->point_to(nullptr);
    if (is_padded(array.host) && array.values)
        write_blanks(array.host, array.value_at(row));
    if (ub2 *length = array.length_at(row))
        *length = 0;
    set_code(array.code_at(row), ora_null_fetched);
    if (sb2 *indicator = array.indicator_at(row))
        *indicator = OCI_IND_NULL;
    else if (array.codes)
        outcome.warning = make_record(ora_null_or_cut, "a null or a cut value was fetched" + column_text());
    else if (outcome.error.code == 0)
        outcome.error =
            make_record(ora_null_fetched, "null was fetched and there is no indicator" + column_text());
}

void define::report_cut(const written &result, std::size_t row, fetch_outcome &outcome) const
{
    if (sb2 *indicator = array.indicator_at(row))
        *indicator = result.whole <= static_cast<std::size_t>(longest_indicated)
                         ? static_cast<sb2>(result.whole)
                         : cut_beyond_indication;
    set_code(array.code_at(row), ora_cut);
    if (outcome.warning.code == ora_cut)
        return;
    outcome.warning =
        array.codes ? make_record(ora_null_or_cut, "a null or a cut value was fetched" + column_text())
                    : make_record(ora_cut, "a value was cut to the size of its variable" + column_text());
}

std::string define::column_text() const
{
    return " (column " + std::to_string(position) + ")";
}

} // namespace sqlite_oci
