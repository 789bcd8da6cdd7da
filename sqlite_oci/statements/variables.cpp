// Binds and defines: the application's side of a statement.
#include "statements/statement.h"

#include <algorithm>

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

void variable::describe(void *valuep, sb4 value_sz, ub2 dty, void *indp, ub2 *lengths, ub2 *codes)
{
    array = {};
    is_dynamic = false;
    array.host.type = dty;
    array.host.size = is_locator(dty) ? sizeof(void *)
                      : value_sz < 0  ? 0
                                      : static_cast<std::size_t>(value_sz);
    array.values = valuep;
    array.indicators = static_cast<sb2 *>(indp);
    array.lengths = lengths;
    array.codes = codes;
    array.value_skip = array.host.size;
    choose_set();
}

void variable::set_form(ub1 form)
{
    array.form = form;
    choose_set();
}

void variable::set_set_id(ub2 id)
{
    array.set_id = id;
    choose_set();
}

void variable::set_skips(ub4 value, ub4 indicator, ub4 length, ub4 code)
{
    array.value_skip = value;
    array.indicator_skip = indicator;
    array.length_skip = length;
    array.code_skip = code;
}

void variable::choose_set()
{
    if (array.set_id)
        array.host.set = env->set_from_id(array.set_id);
    else
        array.host.set = array.form == SQLCS_NCHAR ? env->national : env->set;
    find_conversion();
}

void bind::find_conversion()
{
    reader_ = find_reader(array.host);
    check_conversion();
}

void bind::check_conversion() const
{
    if (!reader_)
        fail(3115, "binds of type %u with a size of %zu bytes are not served", array.host.type,
             array.host.size);
}

value bind::value_of(std::size_t row)
{
    if (is_dynamic)
        return gather(row);
    const sb2 *indicator = array.indicator_at(row);
    if ((indicator && *indicator == OCI_IND_NULL) || !array.values)
        return {};
    check_conversion();
    const ub2 *length = array.length_at(row);
    const std::size_t size = length ? std::min<std::size_t>(*length, array.host.size) : array.host.size;
    return reader_(array.host, array.value_at(row), size, scratch_);
}

void define::find_conversion()
{
    writer_ = find_writer(array.host);
    if (!writer_)
        fail(3115, "defines of type %u with a size of %zu bytes are not served", array.host.type,
             array.host.size);
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
