// Runs one of the OS_ adapter queries into a buffer it sizes itself, and walks the records it
// filled. Internal to the adapter functions.
#ifndef ZP_NET_OS_ADAPTER_QUERY_H
#define ZP_NET_OS_ADAPTER_QUERY_H

#include <cstdint>
#include <vector>

#include "zpport/OSLayer.h"

namespace zpnet {

// Asks with a buffer of one record; when the query wants more (result 4) asks again with the size
// it reported. The records start zeroed, so a slot the query leaves unfilled reads as empty.
// Returns false when the query fails.
template <typename Record>
bool QueryAdapters(int (*query)(Record*, uint32_t*), std::vector<Record>& records) {
    records.assign(1, Record{});
    uint32_t size = sizeof(Record);
    int result = query(records.data(), &size);
    if (result == OS_ERR_BUFFER) {
        records.assign((size + sizeof(Record) - 1) / sizeof(Record), Record{});
        size = static_cast<uint32_t>(records.size() * sizeof(Record));
        result = query(records.data(), &size);
    }
    return result == OS_OK;
}

// The filled records in list order: the chain from the first record, followed only inside the
// buffer and only to records that were filled (filled(record) is true).
template <typename Record, typename Filled>
std::vector<const Record*> FilledRecords(const std::vector<Record>& records, Filled filled) {
    std::vector<const Record*> chain;
    const Record* record = records.empty() ? nullptr : records.data();
    while (record != nullptr && record >= records.data() && record < records.data() + records.size() &&
           filled(*record) && chain.size() < records.size()) {
        chain.push_back(record);
        record = record->Next;
    }
    return chain;
}

inline bool IsFilledInfo(const _OS_ADAPTER_INFO& record) { return record.AdapterName[0] != '\0'; }
inline bool IsFilledAddresses(const _OS_ADAPTER_ADDRESSES& record) {
    return record.PhysicalAddressLength != 0;
}

}  // namespace zpnet

#endif  // ZP_NET_OS_ADAPTER_QUERY_H
