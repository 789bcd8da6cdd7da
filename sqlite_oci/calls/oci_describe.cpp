// Descriptions: parameter descriptors and their attributes.
#include "statements/describe.h"
#include "statements/statement.h"

#include <algorithm>

using namespace sqlite_oci;

namespace
{

constexpr ub2 lob_size = 4000;
constexpr ub2 number_size = 22;
constexpr ub2 longest_size = 0xffff;

std::size_t character_size(const environment &env, const declared_type &type)
{
    const charset set = type.form == SQLCS_NCHAR ? env.national : env.set;
    if (type.by_character)
        return charset_max_bytes(set);
    return set == charset::utf16 ? 2 : 1; // a byte of the file is at most one unit
}

// OCI_ATTR_DATA_SIZE: the bytes that a value takes, of texts in the environment's character set.
ub2 data_size(const environment &env, const declared_type &type)
{
    switch (type.type) {
    case SQLT_CHR:
    case SQLT_AFC:
        return static_cast<ub2>(std::min<std::size_t>(type.length * character_size(env, type), longest_size));
    case SQLT_NUM:
        return number_size;
    case SQLT_BIN:
        return type.length;
    case SQLT_IBFLOAT:
        return 4;
    case SQLT_IBDOUBLE:
        return 8;
    case SQLT_DAT:
        return 7;
    case SQLT_TIMESTAMP:
    case SQLT_TIMESTAMP_LTZ:
    case SQLT_INTERVAL_DS:
        return 11;
    case SQLT_TIMESTAMP_TZ:
        return 13;
    case SQLT_INTERVAL_YM:
        return 5;
    case SQLT_CLOB:
    case SQLT_BLOB:
        return lob_size;
    case SQLT_RDD:
        return 18;
    default:
        return 0; // LONG and LONG RAW have no size
    }
}

// OCI_ATTR_DISP_SIZE: the characters that a value takes as text.
ub2 display_size(const declared_type &type)
{
    constexpr ub2 number_width = 40;
    constexpr ub2 date_width = 19; // YYYY-MM-DD HH:MM:SS
    constexpr ub2 zone_width = 7;
    switch (type.type) {
    case SQLT_CHR:
    case SQLT_AFC:
        return type.length;
    case SQLT_BIN:
        return static_cast<ub2>(2 * type.length);
    case SQLT_NUM:
    case SQLT_IBFLOAT:
    case SQLT_IBDOUBLE:
        return number_width;
    case SQLT_DAT:
        return date_width;
    case SQLT_TIMESTAMP:
    case SQLT_TIMESTAMP_LTZ:
        return static_cast<ub2>(date_width + 1 + type.scale);
    case SQLT_TIMESTAMP_TZ:
        return static_cast<ub2>(date_width + 1 + type.scale + zone_width);
    case SQLT_INTERVAL_YM:
    case SQLT_INTERVAL_DS:
        return date_width;
    case SQLT_RDD:
        return 18;
    default:
        return lob_size;
    }
}

// The precision of a select list's column has a wider type than that of a table's.
void put_precision(const parameter &of, const attribute_output &out)
{
    if (of.of)
        out.put(static_cast<ub1>(of.column.type.precision));
    else
        out.put(of.column.type.precision);
}

ub2 set_id(const environment &env, const declared_type &type)
{
    return type.form == 0 ? ub2{0} : charset_id(type.form == SQLCS_NCHAR ? env.national : env.set);
}

void put_text(const parameter &of, ub4 attribute, std::string_view text, const attribute_output &out)
{
    out.put_text(*of.env, of.owner.given_text(of.column.position, attribute), text);
}

void get_of_column(parameter &of, ub4 attribute, const attribute_output &out)
{
    const column_description &column = of.column;
    const declared_type &type = column.type;
    switch (attribute) {
    case OCI_ATTR_NAME:
    case OCI_ATTR_DISP_NAME:
        return put_text(of, attribute, column.name, out);
    case OCI_ATTR_TYPE_NAME:
    case OCI_ATTR_SCHEMA_NAME:
        return put_text(of, attribute, "", out); // types of objects only have them
    case OCI_ATTR_DATA_TYPE:
        return out.put(type.type);
    case OCI_ATTR_DATA_SIZE:
        return out.put(data_size(*of.env, type));
    case OCI_ATTR_CHAR_SIZE:
        return out.put(type.is_text() ? type.length : ub2{0});
    case OCI_ATTR_CHAR_USED:
        return out.put(static_cast<ub1>(type.by_character));
    case OCI_ATTR_PRECISION:
        return put_precision(of, out);
    case OCI_ATTR_SCALE:
        return out.put(type.scale);
    case OCI_ATTR_LFPRECISION:
        return out.put(static_cast<ub1>(type.precision));
    case OCI_ATTR_FSPRECISION:
        return out.put(static_cast<ub1>(std::max<sb1>(type.scale, 0)));
    case OCI_ATTR_IS_NULL:
        return out.put(static_cast<ub1>(column.is_nullable));
    case OCI_ATTR_CHARSET_FORM:
        return out.put(type.form);
    case OCI_ATTR_CHARSET_ID:
        return out.put(set_id(*of.env, type));
    case OCI_ATTR_DISP_SIZE:
        return out.put(display_size(type));
    case OCI_ATTR_POSITION:
        return out.put(column.position);
    case OCI_ATTR_PTYPE:
        return out.put(ub1{OCI_PTYPE_COL});
    default:
        refuse_attribute(of.kind, attribute);
    }
}

void get_of_object(parameter &of, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_PTYPE:
        return out.put(of.of->kind);
    case OCI_ATTR_NAME:
    case OCI_ATTR_OBJ_NAME:
        return put_text(of, attribute, of.of->name, out);
    case OCI_ATTR_OBJ_SCHEMA:
        return put_text(of, attribute, of.of->schema, out);
    case OCI_ATTR_NUM_COLS:
        return out.put(static_cast<ub2>(of.of->columns.size()));
    case OCI_ATTR_LIST_COLUMNS:
        return out.put_handle(&of.owner.give(of.env, of.of, parameter_kind::column_list));
    default:
        refuse_attribute(of.kind, attribute);
    }
}

void get_of_list(const parameter &of, ub4 attribute, const attribute_output &out)
{
    switch (attribute) {
    case OCI_ATTR_PTYPE:
        return out.put(ub1{OCI_PTYPE_LIST});
    case OCI_ATTR_LTYPE:
        return out.put(ub1{OCI_LTYPE_COLUMN});
    case OCI_ATTR_NUM_PARAMS:
        return out.put(static_cast<ub2>(of.of->columns.size()));
    default:
        refuse_attribute(of.kind, attribute);
    }
}

// --- OCIParamGet, by the kind of handle

void check_position(ub4 position, std::size_t count)
{
    if (position == 0 || position > count)
        fail(24334, "there is no column %u: positions are 1 to %zu", position, count);
}

void *column_of(statement &of, ub4 position)
{
    const column_descriptions &columns = of.columns();
    check_position(position, columns.size());
    return of.give(of.env, columns[position - 1]).handle;
}

void *column_of(const parameter &list, ub4 position)
{
    if (list.shows != parameter_kind::column_list)
        fail(24334, "only the list of an object's columns has parameters");
    check_position(position, list.of->columns.size());
    return list.owner.give(list.env, list.of, parameter_kind::column, position).handle;
}

// The error of one row of an array execution, from the handle that the execution reported on: `position`
// counts from 0. The program gives the error handle that receives it, or null to be given a new one.
void put_batch_error(const error_handle &source, void **target, ub4 position)
{
    if (position >= source.batch.size())
        fail(24316, "there is no failed row %u: %zu failed", position, source.batch.size());
    error_record row = source.batch[position];
    if (!*target)
        *target = source.env->adopt(std::make_unique<error_handle>(source.env), OCI_HTYPE_ERROR)->handle;
    required<error_handle>(*target).set(std::move(row));
}

} // namespace

void sqlite_oci::get(parameter &of, ub4 attribute, const attribute_output &out)
{
    switch (of.shows) {
    case parameter_kind::column:
        return get_of_column(of, attribute, out);
    case parameter_kind::object:
        return get_of_object(of, attribute, out);
    case parameter_kind::column_list:
        return get_of_list(of, attribute, out);
    }
}

void sqlite_oci::get(describe_handle &of, ub4 attribute, const attribute_output &out)
{
    if (attribute != OCI_ATTR_PARAM)
        refuse_attribute(of.kind, attribute);
    const parameter *described = of.described();
    if (!described)
        fail(24334, "nothing was described with this handle");
    out.put_handle(described);
}

extern "C" {

SQLITE_OCI_EXPORT sword OCIParamGet(const void *hndlp, ub4 htype, OCIError *errhp, void **parmdpp, ub4 pos)
{
    return served(errhp, [&](call_errors) {
        if (!parmdpp)
            throw invalid_handle{};
        switch (htype) {
        case OCI_HTYPE_ERROR:
            put_batch_error(required<error_handle>(hndlp), parmdpp, pos);
            break;
        case OCI_HTYPE_STMT:
            *parmdpp = column_of(required<statement>(hndlp), pos);
            break;
        case OCI_DTYPE_PARAM:
            *parmdpp = column_of(required<parameter>(hndlp), pos);
            break;
        default:
            fail(3001, "parameters of handles of type %u are not served", htype);
        }
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIDescribeAny(OCISvcCtx *svchp, OCIError *errhp, void *objptr, ub4 objnm_len,
                                       ub1 objptr_typ, ub1, ub1 objtyp, OCIDescribe *dschp)
{
    return served(errhp, [&](call_errors) {
        const auto &context = required<service_context>(svchp);
        auto &target = required<describe_handle>(dschp);
        if (objptr_typ != OCI_OTYPE_NAME)
            fail(3001, "objects are described by name (OCI_OTYPE_NAME) only");
        const std::string name = context.env->text_in(objptr, objnm_len);
        const auto open = context.shared_connection();
        const std::scoped_lock lock(open->mutex());
        open->start_call();
        target.set(describe_object(*open, name, objtyp));
        return OCI_SUCCESS;
    });
}

} // extern "C"
