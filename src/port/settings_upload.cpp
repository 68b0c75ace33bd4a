// The settings upload over the binary command frame: each field of the record that differs from
// the remembered copy of the last complete upload goes out as one camera parameter, then the
// filter flags, exposure and period, and the filter tables.
#include <zpport/CamPort.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <utility>

#include "port/settings_words.h"

namespace {

using zp::settings::OneOf;
using zp::settings::Word;

constexpr unsigned int kAttempts = 5;
constexpr std::uint32_t kPrimingMark = 0xFFFFFFFFu;
constexpr std::uint32_t kRecordLength = 1024;
constexpr unsigned int kFilterFlags = 724;  // bit 31 enables the colour pipeline
constexpr unsigned int kFilterFlags2 = 872;

// A parameter sent when its field changed: (parameter number, byte position in the record).
struct Field {
    unsigned short parameter;
    unsigned short position;
};

// Runs of uniform steps, in upload order.
constexpr Field kLeadingFields[] = {{70, 752}, {0, 392}, {2, 32}, {3, 44}, {96, 876}, {4, 56}, {5, 428}};
constexpr Field kTimingFields[] = {{7, 472},  {8, 496},  {9, 500},  {10, 460}, {11, 480},
                                   {12, 484}, {13, 476}, {82, 792}, {14, 488}, {15, 492}};
constexpr Field kModelWideFields[] = {{16, 504}, {41, 408}};
constexpr Field kLowModelFields[] = {{48, 572}, {51, 576}};
// Recording, colour matrix (column by column), threshold/denoise, gamma/knee and picture controls.
constexpr Field kPictureFields[] = {
    {27, 412}, {28, 452},  {29, 456}, {30, 432}, {46, 548}, {83, 796}, {32, 436}, {33, 512},  {34, 516},
    {35, 520}, {36, 440},  {37, 524}, {38, 528}, {39, 532}, {40, 444}, {57, 720}, {102, 888}, {97, 812},
    {56, 448}, {113, 940}, {58, 716}, {59, 556}, {60, 560}, {61, 564}, {62, 568}};
constexpr Field kLateRevisionFields[] = {{72, 756}, {77, 776}, {81, 780},  {73, 760}, {74, 764},
                                         {75, 768}, {76, 772}, {114, 924}, {115, 928}};
constexpr Field kNetworkFields[] = {{90, 860}, {91, 864}, {92, 868}, {108, 916}};
constexpr Field kExtraFields[] = {{100, 404}, {101, 552}, {109, 800}};
constexpr Field kExtendedFields[] = {{103, 892}, {126, 936}};

bool InRange(unsigned int value, unsigned int low, unsigned int high) {
    return value >= low && value <= high;
}

// Two 16-bit fields of the record joined as high and low half of one parameter value.
std::uint32_t Joined(const unsigned char* record, unsigned int high, unsigned int low) {
    return Word(record, high) * 65536u + Word(record, low);
}

}  // namespace

unsigned int CCamPort::SendParameterEx(unsigned int parameter, unsigned int value) {
    for (unsigned int attempt = 1; attempt <= kAttempts; ++attempt) {
        const unsigned int result = SendParameter(parameter, value);
        if (result != 0) return result;
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: Send Param(%d,%d) Attempt:%d", static_cast<int>(parameter),
                      static_cast<int>(value), static_cast<int>(attempt));
        OS_ThreadSleep(1);
    }
    return 0;
}

unsigned int CCamPort::CheckAndSendParameter(unsigned int parameter, unsigned int newValue,
                                             unsigned int oldValue) {
    return newValue == oldValue ? 1 : SendParameterEx(parameter, newValue);
}

namespace {

// One upload: the new record against the remembered one, over the port's parameter sends.
class Upload {
public:
    Upload(CCamPort& port, const unsigned char* record, const unsigned char* last)
        : m_port(port), m_new(record), m_old(last) {}

    std::uint32_t New(unsigned int position) const { return Word(m_new, position); }
    bool Changed(unsigned int position) const { return New(position) != Word(m_old, position); }
    bool AnyChanged(std::initializer_list<unsigned int> positions) const {
        for (unsigned int p : positions)
            if (Changed(p)) return true;
        return false;
    }
    bool Checked(unsigned int parameter, std::uint32_t value, std::uint32_t old) {
        return m_port.CheckAndSendParameter(parameter, value, old) != 0;
    }
    bool Checked(const Field& field) {
        return Checked(field.parameter, New(field.position), Word(m_old, field.position));
    }
    template <std::size_t N>
    bool Checked(const Field (&fields)[N]) {
        for (const Field& field : fields)
            if (!Checked(field)) return false;
        return true;
    }
    bool Forced(std::initializer_list<std::pair<unsigned int, std::uint32_t>> sends) {
        for (const auto& send : sends)
            if (m_port.SendParameterEx(send.first, send.second) == 0) return false;
        return true;
    }

private:
    CCamPort& m_port;
    const unsigned char* m_new;
    const unsigned char* m_old;
};

}  // namespace

unsigned int CCamPort::WriteData2(void* data, unsigned int) {
    if (data == nullptr) return 0;
    auto* record = static_cast<unsigned char*>(data);
    // A record marked all ones only primes the remembered copy.
    if (Word(record, 0) == kPrimingMark) {
        zp::settings::SetWord(record, 0, kRecordLength);
        std::memcpy(m_abyLastSettings, record, sizeof m_abyLastSettings);
        return 1;
    }
    if (!SendChangedParameters(record)) return 0;
    if (m_dwDefaultOn != 0 && !SendFilterFlags(record)) return 0;

    // Read once; a failed read is tried again at the next upload.
    if (m_dwParameter17 == 0xFFFFFFFFu) {
        unsigned int value = 0;
        if (GetPortParameter(ZPP_PERIOD, &value)) m_dwParameter17 = value;
    }
    // Exposure and period, the shorter first, so that the exposure never outlasts the period.
    Upload upload(*this, record, m_abyLastSettings);
    const std::uint32_t exposure = upload.New(4);
    const std::uint32_t period = upload.New(388);
    const bool timed = exposure < period ? upload.Forced({{1, exposure}, {23, period}})
                                         : upload.Forced({{23, period}, {1, exposure}});
    if (!timed) return 0;

    const unsigned int result = SetFilter(static_cast<_CAMERA_SETTINGS*>(data));
    std::memcpy(m_abyLastSettings, record, sizeof m_abyLastSettings);
    m_dwSettingsValid = 1;
    return result;
}

bool CCamPort::SendChangedParameters(const unsigned char* record) {
    Upload u(*this, record, m_abyLastSettings);
    const unsigned int model = m_Model.modelCode;
    const bool wideFeatures = (m_Model.featureWord & 0xA00u) == 0;
    const bool upperModels = InRange(model, 9, 11) || InRange(model, 18, 36);

    if (!u.Checked(Field{26, 424})) return false;
    m_dwTransferLimit[0] = m_dwTransferLimit[1] = u.New(424);
    if (!u.Checked(kLeadingFields)) return false;
    if (u.AnyChanged({464, 712})) {
        const bool toneMode3 = u.New(464) == 3;
        if (!u.Forced({{6, toneMode3 ? 1u : u.New(464)}, {54, toneMode3 ? 0x100u : u.New(712)}}))
            return false;
    }
    if (!u.Checked(kTimingFields)) return false;
    if (u.AnyChanged({16, 20, 24, 28, 36})) {
        const std::uint32_t factor = u.New(36) + 1;
        if (!u.Forced({{19, factor * u.New(16)},
                       {20, factor * u.New(20)},
                       {21, factor * u.New(24)},
                       {22, factor * u.New(28)},
                       {43, u.New(36)}}))
            return false;
    }
    if (!u.Checked(Field{25, 468})) return false;
    if ((InRange(model, 9, 11) || InRange(model, 15, 17) || OneOf(model, {21, 22, 24, 26}) ||
         InRange(model, 33, 36) || (InRange(model, 27, 36) && wideFeatures)) &&
        !u.Checked(kModelWideFields))
        return false;
    if (upperModels && u.AnyChanged({852, 856}) && !u.Forced({{88, u.New(852)}, {89, u.New(856)}}))
        return false;
    if (InRange(model, 9, 11) || OneOf(model, {21, 22, 24, 26})) {
        if (!u.Checked(Field{87, 844}) || !u.Checked(Field{78, 788}) || !u.Checked(Field{71, 784}))
            return false;
    } else if (InRange(model, 27, 36)) {
        if ((wideFeatures && !u.Checked(Field{87, 844})) || !u.Checked(Field{71, 784})) return false;
    } else if (InRange(model, 15, 17) && !u.Checked(Field{87, 844})) {
        return false;
    }
    if (upperModels && m_Model.revision > 107 && u.Changed(508) && !u.Forced({{31, u.New(508)}}))
        return false;
    if ((InRange(model, 18, 20) || OneOf(model, {23, 25})) && !u.Checked(kLowModelFields)) return false;
    if (!u.Checked(kPictureFields)) return false;
    if (u.Changed(816)) {
        if (!u.Forced({{98, u.New(816)}})) return false;
        WriteLongRegister(0x2EC, u.New(816) * 8);  // the same value times eight; its result is not checked
    }
    u.Checked(Field{64, 728});  // 64, 65 and the late-revision run do not end the upload when they fail
    if (u.New(728) != 0 && u.AnyChanged({736, 740, 744, 748}) &&
        !u.Forced({{66, u.New(736)}, {67, u.New(740)}, {68, u.New(744)}, {69, u.New(748)}}))
        return false;
    u.Checked(Field{65, 732});
    if (upperModels && m_Model.revision > 123)
        for (const Field& field : kLateRevisionFields) u.Checked(field);
    if (u.AnyChanged({540, 544}) && !u.Forced({{44, u.New(540)}, {45, u.New(544)}})) return false;
    if (!u.Checked(Field{86, 808})) return false;
    if ((InRange(model, 22, 25) || model == 32) && !u.Checked(kNetworkFields)) return false;
    if (!u.Checked(kExtraFields)) return false;
    if ((m_Model.featureFlags[5] & 0x08u) != 0 &&
        (!u.Checked(kExtendedFields) ||
         !u.Checked(104, Joined(record, 908, 904), Joined(m_abyLastSettings, 908, 904)) ||
         !u.Checked(110, Joined(record, 900, 896), Joined(m_abyLastSettings, 900, 896))))
        return false;
    return u.Checked(111, Joined(record, 832, 828), Joined(m_abyLastSettings, 832, 828)) &&
           u.Checked(Field{112, 836});
}

bool CCamPort::SendFilterFlags(unsigned char* record) {
    std::uint32_t f = Word(record, kFilterFlags);
    std::uint32_t g = Word(record, kFilterFlags2);
    if ((f & 0x80000000u) != 0) {
        const std::uint32_t pixelBits = Word(record, 44);
        const std::uint32_t toneMode = Word(record, 464);
        const std::uint32_t colour = Word(record, 32);
        const auto set = [](std::uint32_t& word, std::uint32_t bits, bool on) {
            word = on ? word | bits : word & ~bits;
        };
        set(f, 0x1, Word(record, 380) != 0);
        set(f, 0x2, Word(record, 400) != 0);
        set(f, 0x800, Word(record, 412) != 0);
        if (m_Model.twelveBit || m_Model.tenOrTwelveBit) {
            if (toneMode == 2 && Word(record, 880) == 0) {
                f |= 0x800000;
                set(g, 0x100, !(pixelBits < 9 || InRange(pixelBits, 17, 24)));
            } else if (toneMode == 2) {
                g &= ~0x100u;
                f &= ~0x800000u;
            } else if (toneMode == 3) {
                g |= 0x4100;
                f &= ~0x800000u;
            } else {
                f &= ~0x800000u;
                set(g, 0x100,
                    (m_Model.capability & 0x800000u) != 0 &&
                        (pixelBits == 11 || pixelBits == 12 || pixelBits > 30));
            }
        }
        if (!m_Model.denoiseScale) {
            f = colour == 0 ? f | 0x7000400u : (f & ~0x2000000u) | 0x5000400u;
            f |= 0x100000;
            g &= ~0x8000u;
        } else {
            f = colour == 0 || colour == 2 ? (f & ~0x400u) | 0x6000000u : (f & ~0x2000400u) | 0x4000000u;
            if (colour < 2) {
                f |= 0x1100000;
                set(g, 0x8000, (f & 0x80000u) != 0);
            } else {
                f &= ~0x1100000u;
                g &= ~0x8000u;
            }
        }
        g |= 0x4000000;
    } else {
        f = (f & 0x1000u) | 0x5100400u;
        g &= ~0x4000000u;
    }
    if (m_Model.variant == 'L') f |= 0x40000000;
    zp::settings::SetWord(record, kFilterFlags, f);
    zp::settings::SetWord(record, kFilterFlags2, g);

    Upload u(*this, record, m_abyLastSettings);
    if (u.Changed(kFilterFlags) && !u.Forced({{63, f & 0x7FFFFFFFu}})) return false;
    return !u.Changed(kFilterFlags2) || u.Forced({{93, g}});
}
