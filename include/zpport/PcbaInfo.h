// CPcbaInfo: the list of circuit boards fitted in a camera, a free-text comment and up to
// 47 entries, kept and exchanged as one 256-byte block (little-endian), and a read-only
// table of known boards. All members return 1 for success and 0 for failure.
#ifndef ZPPORT_PCBAINFO_H
#define ZPPORT_PCBAINFO_H

#include <cstddef>
#include <cstdint>

#include "ZpExport.h"

// One entry of the list.
struct _PCBA_ENTRY {
    uint16_t Id;     // board identifier
    uint8_t First;   // stored and returned unchanged
    uint8_t Second;  // stored and returned unchanged
};

// The 256-byte list block: the object's state and the form read and written by GetList/SetList.
struct _PCBA_LIST {
    char Comment[64];  // padded with spaces, no terminator
    char Magic[3];     // 'p', 'C', 'b'
    uint8_t Count;     // 0..47; slots at or beyond it are unused
    _PCBA_ENTRY Entries[47];
};

// One row of the board table.
struct _PCBA_ITEMEX {
    uint16_t Id;            // 0 ends the table
    char Description[512];  // NUL-terminated
    char PartNumber[64];    // NUL-terminated
    char Code[2];           // one letter and NUL
};

ZP_STATIC_ASSERT(sizeof(_PCBA_ENTRY) == 4, "list entry is 4 bytes");
ZP_STATIC_ASSERT(offsetof(_PCBA_ENTRY, Id) == 0, "entry identifier at 0");
ZP_STATIC_ASSERT(offsetof(_PCBA_ENTRY, First) == 2, "entry first value at 2");
ZP_STATIC_ASSERT(offsetof(_PCBA_ENTRY, Second) == 3, "entry second value at 3");
ZP_STATIC_ASSERT(sizeof(_PCBA_LIST) == 256, "list block is 256 bytes");
ZP_STATIC_ASSERT(offsetof(_PCBA_LIST, Comment) == 0, "comment at 0");
ZP_STATIC_ASSERT(offsetof(_PCBA_LIST, Magic) == 64, "magic at 64");
ZP_STATIC_ASSERT(offsetof(_PCBA_LIST, Count) == 67, "count at 67");
ZP_STATIC_ASSERT(offsetof(_PCBA_LIST, Entries) == 68, "entries at 68");
ZP_STATIC_ASSERT(sizeof(_PCBA_ITEMEX) == 580, "board table row is 580 bytes");
ZP_STATIC_ASSERT(offsetof(_PCBA_ITEMEX, Id) == 0, "row identifier at 0");
ZP_STATIC_ASSERT(offsetof(_PCBA_ITEMEX, Description) == 2, "row description at 2");
ZP_STATIC_ASSERT(offsetof(_PCBA_ITEMEX, PartNumber) == 514, "row part number at 514");
ZP_STATIC_ASSERT(offsetof(_PCBA_ITEMEX, Code) == 578, "row letter code at 578");

class ZP_EXPORT CPcbaInfo {
public:
    static constexpr int kListSize = 256;
    static constexpr int kCommentSize = 64;
    static constexpr int kMaxItems = 47;
    static constexpr int kDBaseRows = 2048;

    // An empty list: 64 spaces of comment, the magic, no entries.
    CPcbaInfo();
    ~CPcbaInfo();

    // Loads a 256-byte block. The comment is taken first; a wrong magic (or a count above 47)
    // then returns 0 with the entries unchanged. A valid block is copied whole.
    int SetList(unsigned char* list);
    // Copies the 256-byte block out.
    int GetList(unsigned char* list);
    // At most 63 characters, padded with spaces; a longer text is refused and nothing changes.
    int SetComment(const char* text);
    // Writes 64 bytes: the comment with its trailing spaces turned into NULs.
    int GetComment(char* text);

    // Adds an entry, or updates its values when the identifier is already listed.
    int AddItem(unsigned short id, int first, int second);
    // Updates the low bytes of the values of a listed identifier.
    int EditItem(unsigned short id, int first, int second);
    // Removes an entry; later entries move down, keeping their order.
    int RemoveItem(unsigned short id);
    int FindItem(unsigned short id);

    // Board table: rows are filled from the first; the first row with identifier 0 ends it.
    static int GetDBaseCount();
    // Copies any of the 2048 rows, filled or not.
    static int GetDBaseItem(int index, _PCBA_ITEMEX* row);
    static int FindDBaseItem(int id, _PCBA_ITEMEX* row);

    static const _PCBA_ITEMEX g_pcbaDB[kDBaseRows];

private:
    _PCBA_LIST m_List;
};

#endif  // ZPPORT_PCBAINFO_H
