// Look-ups in the read-only board table.
#include <cstring>

#include "zpport/PcbaInfo.h"

int CPcbaInfo::GetDBaseCount() {
    int count = 0;
    while (count < kDBaseRows && g_pcbaDB[count].Id != 0) ++count;
    return count;
}

int CPcbaInfo::GetDBaseItem(int index, _PCBA_ITEMEX* row) {
    if (row == nullptr || index < 0 || index >= kDBaseRows) return 0;
    std::memcpy(row, &g_pcbaDB[index], sizeof *row);
    return 1;
}

int CPcbaInfo::FindDBaseItem(int id, _PCBA_ITEMEX* row) {
    if (row == nullptr) return 0;
    for (int i = 0; i < kDBaseRows && g_pcbaDB[i].Id != 0; ++i) {
        if (g_pcbaDB[i].Id == id) {
            std::memcpy(row, &g_pcbaDB[i], sizeof *row);
            return 1;
        }
    }
    return 0;
}
