// Tables in shared memory or files, looked up under their own locks, each used as its manual says.
#pragma once

#include "fail.h"

#include <nuv/device.h>
#include <nuv/registry_layout.h>

#include <lmdb.h>
#include <pthread.h>
#include <sqlite3.h>

#include <boost/interprocess/containers/map.hpp>
#include <boost/interprocess/managed_shared_memory.hpp>
#include <boost/interprocess/sync/interprocess_mutex.hpp>
#include <filesystem>
#include <functional>
#include <utility>

namespace nuv_bench {

/// The registry's table and scan, under a mutex that outlives a dead holder.
class Mutex_table {
public:
    Mutex_table();
    Mutex_table(const Mutex_table&) = delete;
    Mutex_table& operator=(const Mutex_table&) = delete;
    ~Mutex_table();

    void store(const NUV_Device& device);
    void ready() {}
    bool look_up(unsigned int id, NUV_Device& out);

private:
    struct Shared;
    Shared* shared;
};

/// A map by id in a managed segment, under a mutex of the segment.
class Shared_map {
public:
    Shared_map();
    Shared_map(const Shared_map&) = delete;
    Shared_map& operator=(const Shared_map&) = delete;
    ~Shared_map();

    void store(const NUV_Device& device);
    void ready() {}
    bool look_up(unsigned int id, NUV_Device& out);

private:
    using Entry = std::pair<const unsigned int, NUV_Device>;
    using Segment = boost::interprocess::managed_shared_memory;
    using Allocator = boost::interprocess::allocator<Entry, Segment::segment_manager>;
    using Map = boost::interprocess::map<unsigned int, NUV_Device, std::less<>, Allocator>;

    Segment segment;
    boost::interprocess::interprocess_mutex* mutex;
    Map* map;
};

/// A database in /dev/shm; a look-up is a reading transaction that is renewed, and a get.
class Lmdb_table {
public:
    Lmdb_table();
    Lmdb_table(const Lmdb_table&) = delete;
    Lmdb_table& operator=(const Lmdb_table&) = delete;
    ~Lmdb_table();

    void store(const NUV_Device& device);
    void ready();
    bool look_up(unsigned int id, NUV_Device& out);

private:
    MDB_env* environment = nullptr;
    MDB_txn* reading = nullptr;
    MDB_dbi table = 0;
};

/// A database in /dev/shm in WAL mode; a look-up is a prepared select by the integer key.
class Sqlite_table {
public:
    Sqlite_table();
    Sqlite_table(const Sqlite_table&) = delete;
    Sqlite_table& operator=(const Sqlite_table&) = delete;
    ~Sqlite_table();

    void store(const NUV_Device& device);
    void ready() {}
    bool look_up(unsigned int id, NUV_Device& out);

private:
    void run(const char* statement);
    sqlite3_stmt* prepare(const char* statement);

    sqlite3* database = nullptr;
    sqlite3_stmt* insert = nullptr;
    sqlite3_stmt* select = nullptr;
};

}  // namespace nuv_bench
