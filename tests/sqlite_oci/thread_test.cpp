// The OCIThread, OCIString and OCIRaw calls.
#include "client.h"

namespace sqlite_oci_test
{
namespace
{

struct shared_count {
    client &of;
    OCIThreadMutex *mutex = nullptr;
    OCIThreadKey *key = nullptr;
    int count = 0;
};

void count_up(void *given)
{
    auto &shared = *static_cast<shared_count *>(given);
    OCIThreadKeySet(shared.of.env, nullptr, shared.key, given);
    for (int i = 0; i < 1000; ++i) {
        OCIThreadMutexAcquire(shared.of.env, nullptr, shared.mutex);
        ++shared.count;
        OCIThreadMutexRelease(shared.of.env, nullptr, shared.mutex);
    }
    void *kept = nullptr;
    if (OCIThreadKeyGet(shared.of.env, nullptr, shared.key, &kept) != OCI_SUCCESS || kept != given)
        shared.count = -1000000;
}

TEST(threads, run_and_meet)
{
    client db;
    OCIThreadProcessInit();
    EXPECT_TRUE(OCIThreadIsMulti());
    EXPECT_EQ(OCIThreadInit(db.env, db.errors), OCI_SUCCESS);
    shared_count shared{db};
    ASSERT_EQ(OCIThreadMutexInit(db.env, db.errors, &shared.mutex), OCI_SUCCESS);
    ASSERT_EQ(OCIThreadKeyInit(db.env, db.errors, &shared.key, nullptr), OCI_SUCCESS);
    OCIThreadHandle *handles[3] = {};
    OCIThreadId *ids[4] = {};
    for (OCIThreadId *&id : ids)
        ASSERT_EQ(OCIThreadIdInit(db.env, db.errors, &id), OCI_SUCCESS);
    for (std::size_t i = 0; i < 3; ++i) {
        ASSERT_EQ(OCIThreadHndInit(db.env, db.errors, &handles[i]), OCI_SUCCESS);
        ASSERT_TRUE(db.succeeds(OCIThreadCreate(db.env, db.errors, count_up, &shared, ids[i], handles[i])));
    }
    for (OCIThreadHandle *const handle : handles)
        EXPECT_TRUE(db.succeeds(OCIThreadJoin(db.env, db.errors, handle)));
    EXPECT_EQ(shared.count, 3000);
    EXPECT_TRUE(db.fails(OCIThreadJoin(db.env, db.errors, handles[0]), 24280))
        << "there is nobody to wait for";
    EXPECT_EQ(OCIThreadClose(db.env, db.errors, handles[0]), OCI_SUCCESS);
    EXPECT_EQ(OCIThreadHandleGet(db.env, db.errors, handles[0]), OCI_SUCCESS);
    void *kept = &db;
    EXPECT_EQ(OCIThreadKeyGet(db.env, db.errors, shared.key, &kept), OCI_SUCCESS);
    EXPECT_EQ(kept, nullptr) << "another thread's value";

    int same = 1, null = 1;
    EXPECT_EQ(OCIThreadIdNull(db.env, db.errors, ids[3], &null), OCI_SUCCESS);
    EXPECT_TRUE(null);
    EXPECT_EQ(OCIThreadIdGet(db.env, db.errors, ids[3]), OCI_SUCCESS);
    EXPECT_EQ(OCIThreadIdSame(db.env, db.errors, ids[3], ids[0], &same), OCI_SUCCESS);
    EXPECT_FALSE(same);
    EXPECT_EQ(OCIThreadIdSet(db.env, db.errors, ids[0], ids[3]), OCI_SUCCESS);
    EXPECT_EQ(OCIThreadIdSame(db.env, db.errors, ids[3], ids[0], &same), OCI_SUCCESS);
    EXPECT_TRUE(same);
    EXPECT_EQ(OCIThreadIdSetNull(db.env, db.errors, ids[0]), OCI_SUCCESS);
    EXPECT_EQ(OCIThreadIdSame(db.env, db.errors, ids[3], ids[0], &same), OCI_SUCCESS);
    EXPECT_FALSE(same);

    EXPECT_EQ(OCIThreadMutexAcquire(db.env, db.errors, shared.mutex), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(OCIThreadMutexAcquire(db.env, db.errors, shared.mutex), 60)) << "instead of a hang";
    EXPECT_EQ(OCIThreadMutexRelease(db.env, db.errors, shared.mutex), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(OCIThreadMutexRelease(db.env, db.errors, shared.mutex), 24280));
    EXPECT_EQ(OCIThreadMutexDestroy(db.env, db.errors, &shared.mutex), OCI_SUCCESS);
    EXPECT_EQ(OCIThreadMutexDestroy(db.env, db.errors, &shared.mutex), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIThreadKeyDestroy(db.env, db.errors, &shared.key), OCI_SUCCESS);
    EXPECT_EQ(OCIThreadIdDestroy(db.env, db.errors, &ids[0]), OCI_SUCCESS);
    EXPECT_EQ(OCIThreadHndDestroy(db.env, db.errors, &handles[0]), OCI_SUCCESS);
    EXPECT_EQ(OCIThreadTerm(db.env, db.errors), OCI_SUCCESS);
}

TEST(strings, grow_and_are_copied)
{
    client db;
    OCIString *first = nullptr, *second = nullptr;
    ASSERT_TRUE(db.succeeds(OCIStringAssignText(db.env, db.errors, text("Zürich"), 7, &first)));
    ASSERT_TRUE(db.succeeds(OCIStringAssign(db.env, db.errors, first, &second)));
    EXPECT_STREQ(reinterpret_cast<char *>(OCIStringPtr(db.env, second)), "Zürich");
    EXPECT_EQ(OCIStringSize(db.env, second), 7);
    EXPECT_TRUE(db.succeeds(OCIStringResize(db.env, db.errors, 100, &second)));
    ub4 room = 0;
    EXPECT_EQ(OCIStringAllocSize(db.env, db.errors, second, &room), OCI_SUCCESS);
    EXPECT_GE(room, 100);
    EXPECT_TRUE(db.fails(OCIStringResize(db.env, db.errors, 3, &second), 22152));
    EXPECT_TRUE(db.succeeds(OCIStringResize(db.env, db.errors, 0, &second)));
    EXPECT_EQ(second, nullptr);
    second = reinterpret_cast<OCIString *>(&db); // never made
    EXPECT_EQ(OCIStringAssign(db.env, db.errors, first, &second), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIStringPtr(db.env, second), nullptr);

    void *object = nullptr;
    ASSERT_TRUE(db.succeeds(OCIObjectNew(db.env, db.errors, nullptr, OCI_TYPECODE_RAW, nullptr, nullptr,
                                         OCI_DURATION_SESSION, 0, &object)));
    auto *bytes = static_cast<OCIRaw *>(object);
    OCIRaw *copy = nullptr;
    EXPECT_TRUE(
        db.succeeds(OCIRawAssignBytes(db.env, db.errors, reinterpret_cast<const ub1 *>("a\0b"), 3, &bytes)));
    EXPECT_TRUE(db.succeeds(OCIRawAssignRaw(db.env, db.errors, bytes, &copy)));
    EXPECT_EQ(OCIRawSize(db.env, copy), 3);
    EXPECT_EQ(OCIRawPtr(db.env, copy)[2], 'b');
    EXPECT_TRUE(db.succeeds(OCIRawResize(db.env, db.errors, 10, &copy)));
    EXPECT_EQ(OCIRawAllocSize(db.env, db.errors, copy, &room), OCI_SUCCESS);
    EXPECT_TRUE(db.succeeds(OCIObjectFree(db.env, db.errors, object, 0)));
    EXPECT_EQ(OCIObjectFree(db.env, db.errors, object, 0), OCI_INVALID_HANDLE);
    EXPECT_TRUE(db.fails(OCIObjectNew(db.env, db.errors, nullptr, OCI_TYPECODE_OBJECT, nullptr, nullptr,
                                      OCI_DURATION_SESSION, 0, &object),
                         3001));
}

} // namespace
} // namespace sqlite_oci_test
