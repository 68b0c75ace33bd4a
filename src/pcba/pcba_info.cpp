// The board list: comment and entries held in the 256-byte block that is also its exchange form.
#include <cstring>

#include "zpport/PcbaInfo.h"

static_assert(sizeof(CPcbaInfo) == CPcbaInfo::kListSize, "the object is exactly the list block");
static_assert(sizeof(_PCBA_LIST) == CPcbaInfo::kListSize, "list block size");
static_assert(sizeof(_PCBA_LIST::Comment) == CPcbaInfo::kCommentSize, "comment size");
static_assert(sizeof(_PCBA_LIST::Entries) / sizeof(_PCBA_ENTRY) == CPcbaInfo::kMaxItems, "entry slots");
// Entry identifiers are stored in host order and the block is exchanged as it is.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the list block is little-endian");

namespace {

constexpr char kMagic[3] = {'p', 'C', 'b'};

void PadComment(_PCBA_LIST& list, const char* text, size_t length) {
    std::memcpy(list.Comment, text, length);
    std::memset(list.Comment + length, ' ', sizeof list.Comment - length);
}

// Slot of the identifier among the used entries, or -1.
int FindSlot(const _PCBA_LIST& list, unsigned short id) {
    for (int i = 0; i < list.Count; ++i) {
        if (list.Entries[i].Id == id) return i;
    }
    return -1;
}

}  // namespace

CPcbaInfo::CPcbaInfo() {
    std::memset(&m_List, 0, sizeof m_List);
    PadComment(m_List, "", 0);
    std::memcpy(m_List.Magic, kMagic, sizeof kMagic);
}

CPcbaInfo::~CPcbaInfo() = default;

int CPcbaInfo::SetList(unsigned char* list) {
    if (list == nullptr) return 0;
    // The comment is replaced before the block is checked; kept for applications that rely on it.
    const char* text = reinterpret_cast<const char*>(list);
    PadComment(m_List, text, strnlen(text, kCommentSize));

    _PCBA_LIST incoming;
    std::memcpy(&incoming, list, sizeof incoming);
    if (std::memcmp(incoming.Magic, kMagic, sizeof kMagic) != 0) return 0;
    if (incoming.Count > kMaxItems) return 0;
    m_List = incoming;
    return 1;
}

int CPcbaInfo::GetList(unsigned char* list) {
    if (list == nullptr) return 0;
    std::memcpy(list, &m_List, sizeof m_List);
    return 1;
}

int CPcbaInfo::SetComment(const char* text) {
    if (text == nullptr) return 0;
    size_t length = strnlen(text, kCommentSize);
    if (length >= static_cast<size_t>(kCommentSize)) return 0;
    PadComment(m_List, text, length);
    return 1;
}

int CPcbaInfo::GetComment(char* text) {
    if (text == nullptr) return 0;
    std::memcpy(text, m_List.Comment, kCommentSize);
    for (int i = kCommentSize - 1; i >= 0 && text[i] == ' '; --i) text[i] = '\0';
    return 1;
}

int CPcbaInfo::EditItem(unsigned short id, int first, int second) {
    int slot = FindSlot(m_List, id);
    if (slot < 0) return 0;
    m_List.Entries[slot].First = static_cast<uint8_t>(first & 0xFF);
    m_List.Entries[slot].Second = static_cast<uint8_t>(second & 0xFF);
    return 1;
}

int CPcbaInfo::AddItem(unsigned short id, int first, int second) {
    if (EditItem(id, first, second)) return 1;
    if (m_List.Count >= kMaxItems) return 0;
    _PCBA_ENTRY& entry = m_List.Entries[m_List.Count];
    entry.Id = id;
    entry.First = static_cast<uint8_t>(first & 0xFF);
    entry.Second = static_cast<uint8_t>(second & 0xFF);
    ++m_List.Count;
    return 1;
}

int CPcbaInfo::RemoveItem(unsigned short id) {
    int slot = FindSlot(m_List, id);
    if (slot < 0) return 0;
    int later = m_List.Count - slot - 1;
    std::memmove(&m_List.Entries[slot], &m_List.Entries[slot + 1], later * sizeof(_PCBA_ENTRY));
    --m_List.Count;
    return 1;
}

int CPcbaInfo::FindItem(unsigned short id) {
    return FindSlot(m_List, id) >= 0 ? 1 : 0;
}
