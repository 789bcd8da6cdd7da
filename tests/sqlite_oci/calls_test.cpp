// Calls that programs make in passing: the library's own state, and what locators tell of themselves.
#include "client.h"

#include <cstring>

namespace sqlite_oci_test
{
namespace
{

TEST_F(sqlite_oci_test, the_library_tells_of_itself)
{
    sword version[5] = {};
    OCIClientVersion(&version[0], &version[1], &version[2], &version[3], &version[4]);
    EXPECT_EQ(version[0] * 100 + version[1], OCI_MAJOR_VERSION * 100 + OCI_MINOR_VERSION);
    OraText text[100];
    ub4 release = 0;
    EXPECT_TRUE(
        db.succeeds(OCIServerRelease(db.server, db.errors, text, sizeof text, OCI_HTYPE_SERVER, &release)));
    EXPECT_EQ(release >> 20, OCI_MAJOR_VERSION * 16 + OCI_MINOR_VERSION);
    EXPECT_EQ(OCIInitialize(OCI_THREADED | OCI_OBJECT, nullptr, nullptr, nullptr, nullptr), OCI_SUCCESS);
    OCIEnv *env = nullptr;
    ASSERT_EQ(OCIEnvInit(&env, OCI_DEFAULT, 0, nullptr), OCI_SUCCESS);
    ub4 has_objects = 0;
    EXPECT_TRUE(
        db.succeeds(OCIAttrGet(env, OCI_HTYPE_ENV, &has_objects, nullptr, OCI_ATTR_OBJECT, db.errors)));
    EXPECT_TRUE(has_objects) << "the mode of OCIInitialize";
    OCIHandleFree(env, OCI_HTYPE_ENV);
    EXPECT_EQ(OCITerminate(OCI_DEFAULT), OCI_SUCCESS);
    OCIInitialize(OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr);
}

TEST_F(sqlite_oci_test, attributes_are_kept_for_programs_that_ask)
{
    const auto callback = [](void *, void *, void *, ub4, ub4) -> sb4 { return 0; };
    OCIFocbkStruct given{callback, this}, kept{};
    EXPECT_TRUE(db.succeeds(OCIAttrSet(db.server, OCI_HTYPE_SERVER, &given, 0, OCI_ATTR_FOCBK, db.errors)));
    EXPECT_TRUE(
        db.succeeds(OCIAttrGet(db.server, OCI_HTYPE_SERVER, &kept, nullptr, OCI_ATTR_FOCBK, db.errors)));
    EXPECT_EQ(kept.fo_ctx, this);
    char module[] = "billing";
    EXPECT_TRUE(
        db.succeeds(OCIAttrSet(db.session, OCI_HTYPE_SESSION, module, 7, OCI_ATTR_MODULE, db.errors)));
    const char *told = nullptr;
    ub4 size = 0;
    EXPECT_TRUE(
        db.succeeds(OCIAttrGet(db.session, OCI_HTYPE_SESSION, &told, &size, OCI_ATTR_MODULE, db.errors)));
    EXPECT_EQ(std::string(told, size), module);
    std::string remark(65, 'x');
    for (const ub4 attribute : {OCI_ATTR_MODULE, OCI_ATTR_ACTION, OCI_ATTR_CLIENT_IDENTIFIER})
        EXPECT_TRUE(db.fails(
            OCIAttrSet(db.session, OCI_HTYPE_SESSION, remark.data(), 65, attribute, db.errors), 24960));
    char schema[] = "NOBODY";
    EXPECT_TRUE(db.fails(
        OCIAttrSet(db.session, OCI_HTYPE_SESSION, schema, 6, OCI_ATTR_CURRENT_SCHEMA, db.errors), 1435));
    EXPECT_TRUE(db.fails(
        OCIAttrSet(db.server, OCI_HTYPE_SERVER, nullptr, 0, OCI_ATTR_NONBLOCKING_MODE, db.errors), 3001));
}

TEST_F(sqlite_oci_test, locators_tell_of_themselves)
{
    void *made[2] = {};
    for (void *&one : made)
        ASSERT_EQ(OCIDescriptorAlloc(db.env, &one, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    auto *value = static_cast<OCILobLocator *>(made[0]), *copy = static_cast<OCILobLocator *>(made[1]);
    ASSERT_TRUE(db.succeeds(OCILobCreateTemporary(db.service, db.errors, value, OCI_DEFAULT, SQLCS_IMPLICIT,
                                                  OCI_TEMP_CLOB, FALSE, OCI_DURATION_SESSION)));
    ub4 bytes = 3, chunk = 0;
    EXPECT_TRUE(db.succeeds(OCILobWriteAppend(db.service, db.errors, value, &bytes, const_cast<char *>("abc"),
                                              3, OCI_ONE_PIECE, nullptr, nullptr, 0, SQLCS_IMPLICIT)));
    oraub8 size = 3, characters = 0, limit = 0, erased = 2;
    EXPECT_TRUE(db.succeeds(OCILobWriteAppend2(db.service, db.errors, value, &size, &characters,
                                               const_cast<char *>("def"), 3, OCI_ONE_PIECE, nullptr, nullptr,
                                               0, SQLCS_IMPLICIT)));
    int temporary = 0, open = 1;
    EXPECT_EQ(OCILobIsTemporary(db.env, db.errors, value, &temporary), OCI_SUCCESS);
    EXPECT_TRUE(temporary);
    EXPECT_EQ(OCILobOpen(db.service, db.errors, value, OCI_LOB_READWRITE), OCI_SUCCESS);
    EXPECT_EQ(OCILobClose(db.service, db.errors, value), OCI_SUCCESS);
    EXPECT_EQ(OCILobIsOpen(db.service, db.errors, value, &open), OCI_SUCCESS);
    EXPECT_FALSE(open);
    EXPECT_EQ(OCILobGetChunkSize(db.service, db.errors, value, &chunk), OCI_SUCCESS);
    EXPECT_GT(chunk, 0);
    EXPECT_EQ(OCILobGetStorageLimit(db.service, db.errors, value, &limit), OCI_SUCCESS);
    EXPECT_GE(limit, 1000000000);
    ub2 set = 0;
    ub1 form = 0;
    EXPECT_EQ(OCILobCharSetId(db.env, db.errors, value, &set), OCI_SUCCESS);
    EXPECT_EQ(OCILobCharSetForm(db.env, db.errors, value, &form), OCI_SUCCESS);
    EXPECT_EQ(set * 10 + form, 8731);
    EXPECT_TRUE(db.succeeds(OCILobAssign(db.env, db.errors, value, &copy)));
    EXPECT_TRUE(db.succeeds(OCILobErase2(db.service, db.errors, copy, &erased, 1)));
    EXPECT_TRUE(db.succeeds(OCILobCopy2(db.service, db.errors, copy, value, 3, 1, 4)));
    oraub8 length = 0;
    EXPECT_EQ(OCILobGetLength2(db.service, db.errors, copy, &length), OCI_SUCCESS);
    EXPECT_EQ(length, 6);

    EXPECT_TRUE(db.fails(OCILobFlushBuffer(db.service, db.errors, copy, OCI_LOB_BUFFER_FREE), 24801));
    EXPECT_TRUE(db.succeeds(OCILobEnableBuffering(db.service, db.errors, copy)));
    EXPECT_TRUE(db.fails(OCILobTrim(db.service, db.errors, copy, 1), 22279));
    EXPECT_TRUE(db.fails(OCILobGetLength2(db.service, db.errors, copy, &length), 22279));
    EXPECT_TRUE(db.succeeds(OCILobFlushBuffer(db.service, db.errors, copy, OCI_LOB_BUFFER_FREE)));
    EXPECT_TRUE(db.succeeds(OCILobDisableBuffering(db.service, db.errors, copy)));
    EXPECT_TRUE(db.succeeds(OCILobTrim(db.service, db.errors, copy, 1)));
}

} // namespace
} // namespace sqlite_oci_test
