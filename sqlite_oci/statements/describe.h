// Descriptions of columns, tables and views, and the parameter descriptors that show them to a program.
#pragma once

#include "connections/connection.h"
#include "handles/attributes.h"
#include "sql/declared_type.h"
#include "values/value.h"

#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

namespace sqlite_oci
{

struct column_description {
    std::string name;
    declared_type type;
    bool is_nullable = true;
    ub2 position = 0; // from 1
};

using column_descriptions = std::vector<column_description>;

// A table or a view.
struct object_description {
    std::string name;
    std::string schema;
    ub1 kind = OCI_PTYPE_UNK; // OCI_PTYPE_...
    column_descriptions columns;
};

// The table or view with this name, which a schema or the user may precede. `kind` is the one wanted, or
// OCI_PTYPE_UNK. Needs the connection's mutex. Throws ORA-04043 when there is none.
object_description describe_object(connection &on, std::string_view name, ub1 kind);

class parameter_owner;

enum class parameter_kind : std::uint8_t { column, object, column_list };

// A parameter descriptor. It is freed by the program or with its owner.
struct parameter final : object {
    static constexpr ub4 handle_kind = OCI_DTYPE_PARAM;

    // Of a select list.
    parameter(parameter_owner &by, environment *in, const column_description &shown)
        : object(in), owner(by), shows(parameter_kind::column), column(shown)
    {
    }
    // Of a table or view; `position` is that of a column.
    parameter(parameter_owner &by, environment *in, std::shared_ptr<const object_description> whole,
              parameter_kind part, ub4 position = 0);

    parameter_owner &owner;
    const parameter_kind shows;
    const std::shared_ptr<const object_description> of; // null for a select list
    const column_description column;
};

// What parameter descriptors are got from.
class parameter_owner
{
public:
    template <class... Arguments> parameter &give(Arguments &&...arguments)
    {
        owned<parameter> made(new parameter(*this, std::forward<Arguments>(arguments)...));
        make_handle(*made, OCI_DTYPE_PARAM);
        parameter &result = *made;
        given_.emplace(&result, std::move(made));
        return result;
    }

    bool release(const parameter *freed) { return given_.erase(freed) == 1; }

    // A text that programs have a pointer to, also after they have freed the parameter; of column 0, the
    // object.
    std::string &given_text(ub2 column, ub4 attribute) { return given_texts_[{column, attribute}]; }

protected:
    void forget_parameters()
    {
        given_.clear();
        given_texts_.clear();
    }

    // A program that never frees its descriptors must not fill the memory.
    void forget_too_many_parameters()
    {
        constexpr std::size_t most_kept = 4096;
        if (given_.size() > most_kept)
            given_.clear();
    }

private:
    std::unordered_map<const parameter *, owned<parameter>> given_;
    std::map<std::pair<ub2, ub4>, std::string> given_texts_;
};

struct describe_handle final : object, parameter_owner {
    static constexpr ub4 handle_kind = OCI_HTYPE_DESCRIBE;
    using object::object;

    // Ends the descriptors of what was described before.
    void set(object_description description);

    // A parameter for what was described; null before the first description.
    parameter *described();

private:
    std::shared_ptr<const object_description> description_;
    weak_handle<parameter> given_; // the program may have freed it
};

void get(parameter &of, ub4 attribute, const attribute_output &out);
void get(describe_handle &of, ub4 attribute, const attribute_output &out);

} // namespace sqlite_oci
