#include "peers.h"

#include "floor.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstring>

namespace nuv_bench {
namespace {

constexpr char segment_name[] = "nuv_bench_map";
constexpr char lmdb_file[] = "/dev/shm/nuv_bench_lmdb";
constexpr char sqlite_file[] = "/dev/shm/nuv_bench_sqlite";

}  // namespace

struct Mutex_table::Shared {
    pthread_mutex_t mutex;
    NUV_Devlist_Shm table;
};

Mutex_table::Mutex_table() {
    void* const address =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(address != MAP_FAILED, "no memory for the mutex's table");
    shared = static_cast<Shared*>(address);
    pthread_mutexattr_t kind;
    pthread_mutexattr_init(&kind);
    pthread_mutexattr_setpshared(&kind, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&kind, PTHREAD_MUTEX_ROBUST);
    require(pthread_mutex_init(&shared->mutex, &kind) == 0, "no robust mutex");
    pthread_mutexattr_destroy(&kind);
}

Mutex_table::~Mutex_table() {
    munmap(shared, sizeof(Shared));
}

void Mutex_table::store(const NUV_Device& device) {
    shared->table.nuvdevice[device.id - 1] = device;
}

bool Mutex_table::look_up(unsigned int id, NUV_Device& out) {
    if (pthread_mutex_lock(&shared->mutex) == EOWNERDEAD) {
        pthread_mutex_consistent(&shared->mutex);
    }
    const int index = scan_ids(shared->table, id);
    if (index >= 0) {
        out = shared->table.nuvdevice[index];
    }
    pthread_mutex_unlock(&shared->mutex);
    return index >= 0;
}

Shared_map::Shared_map() {
    namespace ipc = boost::interprocess;
    ipc::shared_memory_object::remove(segment_name);
    segment = Segment(ipc::create_only, segment_name, 1 << 20);
    mutex = segment.construct<ipc::interprocess_mutex>("mutex")();
    map = segment.construct<Map>("map")(std::less<>(), segment.get_segment_manager());
}

Shared_map::~Shared_map() {
    boost::interprocess::shared_memory_object::remove(segment_name);
}

void Shared_map::store(const NUV_Device& device) {
    map->emplace(+device.id, device);
}

bool Shared_map::look_up(unsigned int id, NUV_Device& out) {
    const boost::interprocess::scoped_lock lock(*mutex);
    const auto found = map->find(id);
    if (found == map->end()) {
        return false;
    }
    out = found->second;
    return true;
}

Lmdb_table::Lmdb_table() {
    std::filesystem::remove(lmdb_file);
    MDB_txn* making = nullptr;
    require(mdb_env_create(&environment) == 0 &&
                mdb_env_open(environment, lmdb_file, MDB_NOSUBDIR | MDB_NOSYNC, 0600) == 0 &&
                mdb_txn_begin(environment, nullptr, 0, &making) == 0 &&
                mdb_dbi_open(making, nullptr, MDB_INTEGERKEY, &table) == 0 &&
                mdb_txn_commit(making) == 0,
            "cannot make an LMDB database");
}

Lmdb_table::~Lmdb_table() {
    mdb_txn_abort(reading);
    mdb_env_close(environment);
    std::filesystem::remove(lmdb_file);
    std::filesystem::remove(std::string(lmdb_file) + "-lock");
}

void Lmdb_table::store(const NUV_Device& device) {
    unsigned int id = device.id;
    NUV_Device copy = device;
    MDB_val key{sizeof id, &id};
    MDB_val value{sizeof copy, &copy};
    MDB_txn* writing = nullptr;
    require(mdb_txn_begin(environment, nullptr, 0, &writing) == 0 &&
                mdb_put(writing, table, &key, &value, 0) == 0 && mdb_txn_commit(writing) == 0,
            "cannot write to an LMDB database");
}

void Lmdb_table::ready() {
    require(mdb_txn_begin(environment, nullptr, MDB_RDONLY, &reading) == 0,
            "cannot read an LMDB database");
    mdb_txn_reset(reading);
}

bool Lmdb_table::look_up(unsigned int id, NUV_Device& out) {
    MDB_val key{sizeof id, &id};
    MDB_val value{};
    const bool found = mdb_txn_renew(reading) == 0 && mdb_get(reading, table, &key, &value) == 0;
    if (found) {
        std::memcpy(&out, value.mv_data, sizeof out);
    }
    mdb_txn_reset(reading);
    return found;
}

Sqlite_table::Sqlite_table() {
    std::filesystem::remove(sqlite_file);
    require(sqlite3_open(sqlite_file, &database) == SQLITE_OK, "cannot make an SQLite database");
    run("PRAGMA journal_mode = WAL");
    run("PRAGMA synchronous = OFF");
    run("CREATE TABLE device (id INTEGER PRIMARY KEY, record BLOB)");
    insert = prepare("INSERT INTO device VALUES (?, ?)");
    select = prepare("SELECT record FROM device WHERE id = ?");
}

Sqlite_table::~Sqlite_table() {
    sqlite3_finalize(insert);
    sqlite3_finalize(select);
    sqlite3_close(database);
    std::filesystem::remove(sqlite_file);
}

void Sqlite_table::run(const char* statement) {
    require(sqlite3_exec(database, statement, nullptr, nullptr, nullptr) == SQLITE_OK,
            "SQLite refuses a statement");
}

sqlite3_stmt* Sqlite_table::prepare(const char* statement) {
    sqlite3_stmt* prepared = nullptr;
    require(sqlite3_prepare_v3(database, statement, -1, SQLITE_PREPARE_PERSISTENT, &prepared,
                               nullptr) == SQLITE_OK,
            "SQLite prepares no statement");
    return prepared;
}

void Sqlite_table::store(const NUV_Device& device) {
    sqlite3_bind_int64(insert, 1, device.id);
    sqlite3_bind_blob(insert, 2, &device, sizeof device, SQLITE_TRANSIENT);
    require(sqlite3_step(insert) == SQLITE_DONE, "SQLite stores no device");
    sqlite3_reset(insert);
}

bool Sqlite_table::look_up(unsigned int id, NUV_Device& out) {
    sqlite3_bind_int64(select, 1, id);
    const bool found = sqlite3_step(select) == SQLITE_ROW &&
                       sqlite3_column_bytes(select, 0) == static_cast<int>(sizeof out);
    if (found) {
        std::memcpy(&out, sqlite3_column_blob(select, 0), sizeof out);
    }
    sqlite3_reset(select);
    return found;
}

}  // namespace nuv_bench
