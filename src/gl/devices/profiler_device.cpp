// profiler_device.cpp - the variant that logs what it draws: every triangle's kind and size, every frame's time.
//
// The fillers that a device has are those in the core's tables. Here each of them makes room for a measuring one, of
// its own for each place in the tables, because a filler learns nothing else about where it was found; what stood there
// is kept and called.
#include "gl/devices/variant.h"

#include <kxcoreemb/file.h>
#include <kxcoreemb/gl_fillers.h>
#include <kxcoreemb/string_toolkit.h>

#include <utility>

namespace
{

constexpr int kRows = 4, kColumns = 3, kSlots = 8; // of the filler tables; the column of PALETTE8 is not measured
constexpr INT32 kLargestValue = 1023;

class ProfilerDevice final : public KxcGLDevice
{
public:
    using KxcGLDevice::KxcGLDevice;
    ~ProfilerDevice() override { ProfilerDevice::deinitialize(); }

    INT32 initialize() override;
    void deinitialize() override;
    void present() override;

private:
    template <int kRow, int kColumn, int kSlot>
    static void measure(const KxcGLTriangle* triangle, const KxcVector4* vertices);
    template <int... kPlaces>
    void measureFillers(std::integer_sequence<int, kPlaces...>);
    void openLog();
    void write(UINT32 id, INT64 value);

    KxcGLFiller m_fillers[kRows][kColumns][kSlots]; // the measured ones
    INT32 m_lastPresent = 0;                        // ms, KxcCore::getTick
    KxcFile* m_log = nullptr;                       // owned; null where it cannot be written
};

/// The record of a filler's triangles.
constexpr UINT32 recordId(int row, int column, int slot)
{
    constexpr UINT32 kBlends[kRows] = {0, 20, 10, 30}; // none, alpha, add, inverse multiply
    const int shading = slot & 3;
    if (column == 0)
        return kBlends[row] + (shading < 2 ? 1 : 2);
    const UINT32 textured = shading == 0 ? (column == 2 ? 4 : 3) : shading == 1 ? 5 : 6;
    return kBlends[row] + textured + (slot & 4);
}

/// About as large as the triangle's bounding box; not its area.
INT64 sizeMeasure(const KxcGLTriangle& triangle, const KxcVector4* vertices)
{
    INT64 x[3], y[3];
    for (int i = 0; i < 3; ++i)
    {
        x[i] = static_cast<INT32>(vertices[triangle.corners.vertex[i]].x);
        y[i] = static_cast<INT32>(vertices[triangle.corners.vertex[i]].y);
    }
    const INT64 m = ((x[0] - x[1]) * (y[0] - y[2]) + (x[0] - x[2]) * (y[0] - y[1])) / 2;
    return m < 0 ? -m : m;
}

template <int kRow, int kColumn, int kSlot>
void ProfilerDevice::measure(const KxcGLTriangle* triangle, const KxcVector4* vertices)
{
    // Creating any other device empties the tables, so whoever finds this there has a profiler.
    ProfilerDevice* device = static_cast<ProfilerDevice*>(kxcCore->device);
    device->write(recordId(kRow, kColumn, kSlot), sizeMeasure(*triangle, vertices));
    device->m_fillers[kRow][kColumn][kSlot](triangle, vertices);
}

template <int... kPlaces>
void ProfilerDevice::measureFillers(std::integer_sequence<int, kPlaces...>)
{
    static constexpr KxcGLFiller kMeasuring[] = {
        measure<kPlaces / (kColumns * kSlots), kPlaces / kSlots % kColumns, kPlaces % kSlots>...};
    for (int place = 0; place < kRows * kColumns * kSlots; ++place)
    {
        const int row = place / (kColumns * kSlots), column = place / kSlots % kColumns, slot = place % kSlots;
        KxcGLFiller& entry = kxcCore->fillers[row][column][slot];
        m_fillers[row][column][slot] = entry;
        if (entry != kxcGLFillNothing)
            entry = kMeasuring[place];
    }
}

INT32 ProfilerDevice::initialize()
{
    if (!KxcGLDevice::initialize())
        return 0;
#define KXC_USE_None(name) kxcGLUseFiller##name();
#define KXC_USE_55X5(name) kxcGLUseFiller##name();
#define KXC_USE_5515(name) kxcGLUseFiller##name();
#define KXC_USE_Pal55X5(name)
#define KXC_USE_MEASURED(name, shading, texel, blend, perspective) KXC_USE_##texel(name)
    KXC_GL_FILLERS(KXC_USE_MEASURED)
    measureFillers(std::make_integer_sequence<int, kRows * kColumns * kSlots>());
    openLog();
    m_lastPresent = KxcCore::getTick();
    return 1;
}

void ProfilerDevice::openLog()
{
    char name[24];
    for (INT32 number = 0;; ++number)
    {
        KxcStringToolkit::format(name, static_cast<INT32>(sizeof(name)), "kxlog%03d.dat", number);
        KxcFile* existing = KxcFile::open(name, "r", KXCFILE_DEFAULT);
        if (!existing)
            break;
        existing->close();
    }
    m_log = KxcFile::open(name, "wb", KXCFILE_DEFAULT);
}

void ProfilerDevice::deinitialize()
{
    if (m_log)
        m_log->close();
    m_log = nullptr;
    KxcGLDevice::deinitialize();
}

void ProfilerDevice::write(UINT32 id, INT64 value)
{
    if (m_log)
        m_log->writeUINT16(
            static_cast<UINT16>(id << 10 | static_cast<UINT32>(value < kLargestValue ? value : kLargestValue)));
}

void ProfilerDevice::present()
{
    const INT32 now = KxcCore::getTick();
    const INT32 elapsed = static_cast<INT32>(static_cast<UINT32>(now) - static_cast<UINT32>(m_lastPresent));
    write(0, elapsed < 0 ? kLargestValue : elapsed);
    m_lastPresent = now;
    KxcGLDevice::present();
}

} // namespace

void kxcUseGLDefaultProfiler()
{
    // The record has told half the screen's size ever since; the frame has all of it.
    if (kxcCore)
        KxcGLVariant<ProfilerDevice>::use("DefaultProfiler", kxcCore->screenWidth / 2, kxcCore->screenHeight / 2, 7677,
                                          1);
}
