/*
 * Setting and getting attributes. A value that is itself a handle or descriptor is translated to its twin
 * for Dravik; setting the server, session or transaction of a service context makes them one family.
 */
#include "attribute_types.h"
#include "dispatch.h"

namespace
{

/*
 * Records that a server, session or transaction belongs to a service context. The server brings the backend
 * that accepted it; session and transaction take over the service context's.
 */
void link_family(om_handle_t *wsvchp, om_handle_t *wattr, ub4 attr_type)
{
    child_hdl_grp_t &family = wsvchp->childhp.child_grp;
    switch (attr_type) {
    case OCI_ATTR_SERVER:
        family.first = wattr;
        wsvchp->last_exec = wattr->last_exec;
        break;
    case OCI_ATTR_SESSION:
        family.second = wattr;
        wattr->last_exec = wsvchp->last_exec;
        break;
    case OCI_ATTR_TRANS:
        family.third = wattr;
        wattr->last_exec = wsvchp->last_exec;
        break;
    default:
        return;
    }
    wattr->parenthp = wsvchp;
}

/*
 * The wrapper of a handle or descriptor that an attribute is about to yield: that of the one in the program's
 * variable, if it is known, or a new one. Null when memory is out.
 */
om_handle_t *wrapper_of_value(attribute_value value, void **valuep, bool *is_new)
{
    const bool is_handle = value.htype > 0;
    om_handle_t *wattr = is_handle ? find_handle_if_given(value_of(valuep), (ub4)value.htype)
                                   : find_descriptor_if_given(value_of(valuep), (ub4)value.dtype);
    if (wattr)
        return wattr;
    *is_new = true;
    return new_wrapper((ub4)(is_handle ? value.htype : value.dtype), OM_STATE_BY_CALL);
}

/* Makes a new wrapper known, now that its handle is. */
void enter_value(om_handle_t *wattr, attribute_value value, om_handle_t *wtrgthndlp, ub4 trghndltyp,
                 ub4 attrtype)
{
    // A parameter belongs to the describe handle that it came from, however deep it lies.
    if (trghndltyp == OCI_DTYPE_PARAM)
        wattr->parenthp = wtrgthndlp->parenthp;
    else if (trghndltyp == OCI_HTYPE_DESCRIBE && attrtype == OCI_ATTR_PARAM)
        wattr->parenthp = wtrgthndlp;
    if (value.htype > 0)
        enter_handle(wattr, (ub4)value.htype);
    else
        enter_descriptor(wattr, (ub4)value.dtype);
}

} // namespace

extern "C" {

OM_EXPORT sword OCIAttrSet(void *hdl, ub4 hdl_type, void *attr, ub4 size, ub4 attr_type, OCIError *errhp)
{
    TRACE_CALL("OCIAttrSet(dvoid *hdl, ub4 hdl_type, dvoid *attr, ub4 size, ub4 attr_type, OCIError *errhp)"
               "\n\thdl=%p\n\thdl_type=%d\n\tattr=%p\n\tsize=%d\n\tattr_type=%d\n\terrhp=%p",
               hdl, hdl_type, attr, size, attr_type, errhp);

    om_handle_t *whdl = find_handle_or_descriptor(hdl, hdl_type);
    REQUIRE_AT(2005, whdl, "whdl != ((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);
    REQUIRE_AT(2008, werrhp, "werrhp != ((void *)0)");

    const attribute_value value = classify_attribute(hdl_type, attr_type);
    TRACE(OM_LOG_DEBUG, "CONTINUE FUNC - OCIAttrSet()\n\tATTRIBUTE TYPE: htype=%d, dtype=%d", value.htype,
          value.dtype);

    // The twin of whatever is set must be known: a plain value has none.
    om_handle_t *wattr = nullptr;
    if (value.htype > 0)
        wattr = find_handle(attr, (ub4)value.htype);
    else if (value.dtype > 0)
        wattr = find_descriptor(attr, (ub4)value.dtype);
    REQUIRE_AT(2020, wattr, "wattr != ((void *)0)");

    sword rc = OM_NOT_CALLED;
    if (check_run_for(whdl, OM_TARGET_ORACLE) && wattr->ora_hndlp) {
        rc = ora_func_table.funcs.func_OCIAttrSet(hdl, hdl_type, attr, size, attr_type, errhp);
        record_error(werrhp, OM_TARGET_ORACLE);
        trace_refresh();
        if (rc != OCI_SUCCESS) {
            TRACE_AT(OM_LOG_ERROR, 2030, "END FUNC - OCIAttrSet()\n\treturn rc=%d", rc);
            return rc;
        }
    }

    sword rc_dk = OM_NOT_CALLED;
    if (check_run_for(whdl, OM_TARGET_DRAVIK) && wattr->dk_hndlp) {
        rc_dk = dk_func_table.funcs.func_OCIAttrSet(whdl->dk_hndlp, hdl_type, wattr->dk_hndlp, size,
                                                    attr_type, twin<OCIError>(werrhp));
        record_error(werrhp, OM_TARGET_DRAVIK);
        trace_refresh();
        if (rc_dk != OCI_SUCCESS) {
            TRACE_AT(OM_LOG_ERROR, 2094, "END FUNC - OCIAttrSet()\n\treturn rc_dk=%d", rc_dk);
            return rc_dk;
        }
    }

    if (hdl_type == OCI_HTYPE_SVCCTX)
        link_family(whdl, wattr, attr_type);
    TRACE_AT(OM_LOG_INFO, 2162, "END FUNC - OCIAttrSet()\n\treturn rc=%d, dk_rc=%d", rc, rc_dk);
    return result_of(rc, rc_dk);
}

OM_EXPORT sword OCIAttrGet(const void *trgthndlp, ub4 trghndltyp, void *attributep, ub4 *sizep, ub4 attrtype,
                           OCIError *errhp)
{
    TRACE_CALL(
        "OCIAttrGet(CONST dvoid *trgthndlp, ub4 trghndltyp, dvoid *attributep, ub4 *sizep, ub4 attrtype, "
        "OCIError *errhp)"
        "\n\ttrgthndlp=%p\n\ttrghndltyp=%d\n\tattributep=%p\n\tsizep=%p\n\tattrtype=%d\n\terrhp=%p",
        trgthndlp, trghndltyp, attributep, sizep, attrtype, errhp);

    om_handle_t *wtrgthndlp = find_handle_or_descriptor(trgthndlp, trghndltyp);
    REQUIRE_AT(2213, wtrgthndlp, "wtrgthndlp != ((void *)0)");
    om_handle_t *werrhp = find_handle(errhp, OCI_HTYPE_ERROR);

    const attribute_value value = classify_attribute(trghndltyp, attrtype);
    TRACE(OM_LOG_DEBUG, "CONTINUE FUNC - OCIAttrGet()\n\tATTRIBUTE TYPE: htype=%d, dtype=%d", value.htype,
          value.dtype);

    bool is_new = false;
    om_handle_t *wattr = nullptr;
    if (!is_plain(value)) {
        wattr = wrapper_of_value(value, (void **)attributep, &is_new);
        REQUIRE_AT(value.htype > 0 ? 2226 : 2234, wattr, "wattr != ((void *)0)");
    }

    sword rc = OCI_ERROR; // what a handle that no backend serves answers
    if (check_run_for(wtrgthndlp, OM_TARGET_ORACLE)) {
        rc = ora_func_table.funcs.func_OCIAttrGet(trgthndlp, trghndltyp, attributep, sizep, attrtype, errhp);
        record_error(werrhp, OM_TARGET_ORACLE);
        trace_refresh();
        if (rc != OCI_SUCCESS) {
            if (is_new)
                free_wrapper(wattr);
            TRACE_AT(OM_LOG_ERROR, 2249, "END FUNC - OCIAttrGet() of Oracle\n\treturn rc=%d", rc);
            return rc;
        }
        if (wattr) {
            wattr->last_exec |= OM_TARGET_ORACLE;
            set_wrapper_key(wattr, value_of((void **)attributep));
        }
    } else if (check_run_for(wtrgthndlp, OM_TARGET_DRAVIK)) {
        // The program knows Oracle's handles only: a Dravik handle goes into the wrapper.
        void *out = wattr ? (void *)&wattr->dk_hndlp : attributep;
        rc = dk_func_table.funcs.func_OCIAttrGet(wtrgthndlp->dk_hndlp, trghndltyp, out, sizep, attrtype,
                                                 twin<OCIError>(werrhp));
        record_error(werrhp, OM_TARGET_DRAVIK);
        trace_refresh();
        if (rc != OCI_SUCCESS) {
            if (is_new)
                free_wrapper(wattr);
            TRACE_AT(OM_LOG_ERROR, 2272, "END FUNC - OCIAttrGet() of Dravik\n\treturn rc=%d", rc);
            return rc;
        }
        if (wattr)
            wattr->last_exec |= OM_TARGET_DRAVIK;
    }

    if (is_new)
        enter_value(wattr, value, wtrgthndlp, trghndltyp, attrtype);

    if (attrtype == OCI_ATTR_ROW_COUNT && trghndltyp == OCI_HTYPE_STMT && attributep)
        TRACE_AT(OM_LOG_DEBUG, 2303, "CONTINUE FUNC - OCIAttrGet()\n\tfetch count=%d", *(ub4 *)attributep);
    TRACE_AT(OM_LOG_INFO, 2313,
             "END FUNC - OCIAttrGet()\n\treturn rc=%d\n\tattributep=%p\n\t*sizep=%d\n\terrhp=%p", rc,
             attributep, sizep ? *sizep : 0, errhp);
    return rc;
}

} // extern "C"
