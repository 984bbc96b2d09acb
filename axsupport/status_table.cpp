#include "axsupport/status_table.h"

#include <cstdint>
#include <map>
#include <mutex>

namespace nk {
namespace {

// Runs of consecutive statuses mapped to consecutive codes. The codes were numbered in the
// order the statuses were added, so late statuses carry late codes; four statuses map to
// values without the severity bit, and some codes are never produced. Keep it exactly so.
struct Run {
    int first;
    int last;
    uint32_t firstCode;
};

constexpr Run kRuns[] = {
    {1, 8, 0x80200001},         {10, 18, 0x80200009},       {20, 59, 0x80200012},
    {60, 60, 0x0020003A},       {61, 77, 0x8020003B},       {80, 105, 0x8020004C},
    {110, 110, 0x80200066},     {120, 120, 0x80200067},     {122, 142, 0x80200068},
    {150, 173, 0x8020007D},     {180, 180, 0x80200095},     {190, 193, 0x80200096},
    {200, 207, 0x8020009A},     {210, 213, 0x802000A2},     {220, 222, 0x802000A6},
    {230, 232, 0x802000A9},     {250, 254, 0x802000AC},     {260, 261, 0x802000B1},
    {290, 292, 0x802000B3},     {300, 303, 0x802000B6},     {310, 312, 0x802000BA},
    {314, 314, 0x802000BE},     {320, 323, 0x802000BF},     {325, 325, 0x802000C3},
    {330, 335, 0x802000C4},     {337, 338, 0x802000CB},     {340, 340, 0x802000CE},
    {342, 346, 0x802000D0},     {348, 352, 0x802000D6},     {354, 376, 0x802000DC},
    {378, 392, 0x802000F3},     {20000, 20001, 0x00200102}, {20002, 20011, 0x80200104},
    {20012, 20012, 0x0020010E}, {20013, 20050, 0x8020010F}, {395, 398, 0x80200135},
    {405, 405, 0x80200139},     {399, 399, 0x8020013A},     {401, 404, 0x8020013B},
    {400, 400, 0x8020013F},     {9, 9, 0x80200140},         {106, 106, 0x80200141},
    {393, 394, 0x80200142},     {406, 411, 0x80200144},     {420, 420, 0x8020014A},
    {430, 431, 0x8020014B},     {20051, 20052, 0x8020014D}, {1001, 1003, 0x80210090},
    {1101, 1104, 0x80210093},   {1201, 1203, 0x80210097},   {107, 107, 0x80210100},
    {550, 550, 0x80210101},
};

struct Table {
    std::map<int32_t, HRESULT> map;
    std::mutex guard;  // unknown statuses are inserted at run time
    Table()
    {
        for (const Run& r : kRuns)
            for (int s = r.first; s <= r.last; ++s)
                map.emplace(s, static_cast<HRESULT>(r.firstCode + static_cast<uint32_t>(s - r.first)));
    }
};

Table& table()
{
    static Table t;
    return t;
}

// Built with the other static tables when the module loads.
[[maybe_unused]] const bool kBuiltAtLoad = (table(), true);

}  // namespace

HRESULT mappedStatus(kx::Velt::ErrorStatus status)
{
    Table& t = table();
    std::lock_guard<std::mutex> lock(t.guard);
    return t.map.try_emplace(static_cast<int32_t>(status), 0).first->second;
}

bool statusKnown(kx::Velt::ErrorStatus status)
{
    Table& t = table();
    std::lock_guard<std::mutex> lock(t.guard);
    return t.map.count(static_cast<int32_t>(status)) != 0;
}

size_t statusTableSize()
{
    Table& t = table();
    std::lock_guard<std::mutex> lock(t.guard);
    return t.map.size();
}

}  // namespace nk
