// Object types: what a file's extension says it is, and how its name may look.
#include "coretools/ctfileutil/objextension.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <strings.h>

#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/sort_pointers.h"
#include "coretools/ctstrutil/char_case.h"

namespace {

constexpr int CASE_LOWERED = 0;
constexpr int CASE_KEPT = 1;

struct object_row {
    int type;
    const char *extension; // upper case
    int mixed_case_OK = CASE_KEPT;
    int name_length = 32;
};

// The order decides between rows of the same extension. The last row is the default one.
constexpr object_row object[] = {{2, "PRT", CASE_LOWERED},
                                 {10030, "PRT", CASE_LOWERED},
                                 {1, "ASM", CASE_LOWERED},
                                 {4, "DRW", CASE_LOWERED},
                                 {19, "LAY", CASE_LOWERED},
                                 {11, "SEC", CASE_LOWERED},
                                 {7, "SEC", CASE_LOWERED},
                                 {16, "SEC", CASE_LOWERED},
                                 {33, "FRM", CASE_LOWERED},
                                 {124, "INT", CASE_LOWERED},
                                 {20, "INT", CASE_LOWERED},
                                 {70, "PRJ", CASE_LOWERED},
                                 {37, "MFG", CASE_LOWERED},
                                 {27, "GPH", CASE_LOWERED},
                                 {160, "DSM"},
                                 {45, "SYM", CASE_LOWERED},
                                 {46, "ECO"},
                                 {47, "TOL"},
                                 {48, "MAC"},
                                 {78, "CDB"},
                                 {211, "BND"},
                                 {98, "RPT"},
                                 {105, "REP", CASE_LOWERED},
                                 {99, "XCH"},
                                 {161, "DXH"},
                                 {111, "LGH", CASE_LOWERED},
                                 {112, "WFL"},
                                 {113, "SUB"},
                                 {132, "IXF"},
                                 {116, "MRK", CASE_LOWERED},
                                 {119, "SCL"},
                                 {121, "DGM", CASE_LOWERED},
                                 {122, "DFT", CASE_LOWERED},
                                 {107, "MAT"},
                                 {125, "SPL"},
                                 {128, "TBL", CASE_LOWERED},
                                 {162, "DTB"},
                                 {129, "PIC", CASE_LOWERED},
                                 {130, "NCK"},
                                 {134, "IGS"},
                                 {569, "EMN", CASE_KEPT, 66},
                                 {570, "EVS", CASE_KEPT, 66},
                                 {571, "MDB", CASE_KEPT, 66},
                                 {572, "EDN", CASE_KEPT, 66},
                                 {573, "EMP", CASE_KEPT, 66},
                                 {574, "EVS", CASE_KEPT, 66},
                                 {575, "MDF", CASE_KEPT, 66},
                                 {576, "EDP", CASE_KEPT, 66},
                                 {577, "MDC", CASE_KEPT, 66},
                                 {135, "SET"},
                                 {136, "VDA"},
                                 {137, "DXF"},
                                 {560, "DWG"},
                                 {142, "IDX"},
                                 {148, "IMG"},
                                 {96, "CBL"},
                                 {95, "CON"},
                                 {154, "PTB"},
                                 {157, "PCF"},
                                 {170, "STK"},
                                 {754, "INS"},
                                 {175, "PPL"},
                                 {-5, "DIR"},
                                 {-7, "TPM"},
                                 {198, "NEU"},
                                 {202, "CDM"},
                                 {191, "PPR"},
                                 {190, "SIT"},
                                 {192, "MDB"},
                                 {199, "VEK"},
                                 {235, "BSL"},
                                 {236, "OLD"},
                                 {237, "NEW"},
                                 {238, "DIF"},
                                 {255, "TTB"},
                                 {301, "CDD"},
                                 {302, "LSL", CASE_LOWERED},
                                 {303, "IPF", CASE_LOWERED},
                                 {322, "FEI"},
                                 {323, "FES"},
                                 {324, "FMR"},
                                 {325, "SYN"},
                                 {328, "NCL"},
                                 {183, "DTL"},
                                 {341, "SNP"},
                                 {343, "STB"},
                                 {348, "MVC"},
                                 {370, "ROD"},
                                 {753, "WPR"},
                                 {371, "WPR"},
                                 {374, "TPH", CASE_LOWERED},
                                 {373, "HRN"},
                                 {375, "PTY"},
                                 {10017, "XPR", CASE_LOWERED},
                                 {10016, "XAS", CASE_LOWERED},
                                 {309, "XRP"},
                                 {412, "FMD"},
                                 {414, "FNF"},
                                 {424, "NAS"},
                                 {425, "XDB"},
                                 {415, "TAB"},
                                 {9999, "DAT"},
                                 {421, "CDV"},
                                 {422, "IBL"},
                                 {423, "PTS"},
                                 {535, "CGP"},
                                 {579, "MAP"},
                                 {710, "DMT"},
                                 {711, "DLG"},
                                 {712, "DEN"},
                                 {580, "SHD"},
                                 {586, "PS"},
                                 {609, "HP2"},
                                 {20321, "HP"},
                                 {20322, "GER"},
                                 {611, "CAL"},
                                 {610, "VER"},
                                 {587, "IMF"},
                                 {588, "TX1"},
                                 {589, "TX3"},
                                 {590, "TX4"},
                                 {591, "TGA"},
                                 {592, "PIC"},
                                 {593, "RGB"},
                                 {594, "RLA"},
                                 {595, "DRM"},
                                 {618, "WLL"},
                                 {619, "ENV"},
                                 {596, "BIF"},
                                 {582, "EPS"},
                                 {583, "BMP"},
                                 {564, "PNG"},
                                 {539, "STP"},
                                 {537, "IGS"},
                                 {568, "FIA"},
                                 {540, "NTR"},
                                 {541, "NTR"},
                                 {543, "CT"},
                                 {561, "IGS"},
                                 {548, "CAT"},
                                 {549, "STL"},
                                 {550, "RCS"},
                                 {551, "IV"},
                                 {552, "OBJ"},
                                 {553, "SLP"},
                                 {554, "IGS"},
                                 {556, "UNV"},
                                 {557, "WRL"},
                                 {559, "PLT"},
                                 {563, "TIF"},
                                 {585, "TIF"},
                                 {547, "CGM"},
                                 {566, "JPG"},
                                 {631, "MPG"},
                                 {637, "NCS"},
                                 {567, "GIF"},
                                 {578, "BIN"},
                                 {584, "WIN"},
                                 {20001, "MIL"},
                                 {20002, "TRN"},
                                 {20003, "DRL"},
                                 {20004, "AUX"},
                                 {20005, "CEL"},
                                 {20006, "OPR"},
                                 {20007, "MEA"},
                                 {597, "TAB"},
                                 {20010, "CMD"},
                                 {20011, "SMT"},
                                 {20012, "EDM"},
                                 {10020, "JAR"},
                                 {612, "NWF"},
                                 {613, "VRT"},
                                 {614, "VSM"},
                                 {621, "ICM"},
                                 {20014, "CLR"},
                                 {450, "FRA"},
                                 {627, "QMW"},
                                 {629, "GTM"},
                                 {700, "ADT"},
                                 {20015, "APX"},
                                 {701, "XLS"},
                                 {20016, "CTR"},
                                 {20018, "NCD"},
                                 {20019, "RDL"},
                                 {20017, "WPO"},
                                 {20020, "TPL"},
                                 {20021, "TDA"},
                                 {636, "TAP"},
                                 {810, "GBF"},
                                 {811, "ASC"},
                                 {821, ""},
                                 {822, ""},
                                 {812, "FACET"},
                                 {813, ""},
                                 {814, ""},
                                 {815, "WRL"},
                                 {816, "SAT"},
                                 {817, "XMT"},
                                 {800, "CCI"},
                                 {545, "PDG"},
                                 {1002, "", CASE_KEPT, 80},
                                 {1006, "SESSION", CASE_KEPT, 80},
                                 {546, ""},
                                 {1003, ""},
                                 {1005, "", CASE_KEPT, 20},
                                 {1004, ""},
                                 {650, "SOL"},
                                 {818, "NEU"},
                                 {819, "MODEL", CASE_KEPT, 80},
                                 {555, ""},
                                 {638, "SPM"},
                                 {820, "_PS"},
                                 {702, "SMD"},
                                 {639, "XML"},
                                 {832, "EXP", CASE_KEPT, 80},
                                 {-1, ""}};
constexpr int OBJECT_COUNT = static_cast<int>(std::size(object));
static_assert(OBJECT_COUNT == 216);
static_assert(object[OBJECT_COUNT - 1].type == OBJ_TYPE_DEFAULT);

constexpr const object_row *FIRST_ROW = std::begin(object);
constexpr const object_row *DEFAULT_ROW = std::end(object) - 1;

constexpr int WEIRD_CHARS_TYPES[] = {134, 183, 819, 832, 1002, 1006};

constexpr std::size_t EXTENSION_SIZE = 260;

using row_pointer = const object_row *;

// Derived tables, made when first needed and kept: the rows by extension (all but the default one)
// and the rows by type code, equal ones in the table's order.
std::atomic<row_pointer *> sorted_ext_table{nullptr};
std::atomic<row_pointer *> sorted_type_table{nullptr};
constexpr int sorted_ext_count = OBJECT_COUNT - 1;

// The row of the last type that was found.
std::atomic<row_pointer> remembered_row{FIRST_ROW};

} // namespace

static int in_table_order(row_pointer a, row_pointer b) {
    return a < b ? -1 : a > b;
}

static int obj_ext_cmp_exts(const void *a, const void *b) {
    const auto *row_a = static_cast<row_pointer>(a);
    const auto *row_b = static_cast<row_pointer>(b);
    const int order = strcasecmp(row_a->extension, row_b->extension);
    return order != 0 ? order : in_table_order(row_a, row_b);
}

static int obj_ext_cmp_types(const void *a, const void *b) {
    const auto *row_a = static_cast<row_pointer>(a);
    const auto *row_b = static_cast<row_pointer>(b);
    if (row_a->type != row_b->type) {
        return row_a->type < row_b->type ? -1 : 1;
    }
    return in_table_order(row_a, row_b);
}

// The first count rows, sorted; null without memory. Of two threads that make a table at once, one
// publishes its own and the other takes that one.
static const row_pointer *sorted_table(std::atomic<row_pointer *> *table, int count,
                                       sort_compare compare) {
    row_pointer *existing = table->load(std::memory_order_acquire);
    if (existing != nullptr) {
        return existing;
    }
    void *block = getmem_null(OBJECT_COUNT * static_cast<int>(sizeof(row_pointer)));
    if (block == nullptr) {
        return nullptr;
    }
    const auto **pointers = static_cast<const void **>(block);
    for (int i = 0; i < count; ++i) {
        pointers[i] = &object[i];
    }
    sort_pointers(count, compare, pointers);
    auto *sorted = static_cast<row_pointer *>(block);
    if (!table->compare_exchange_strong(existing, sorted, std::memory_order_acq_rel)) {
        rlsmem(block);
        return existing;
    }
    return sorted;
}

// The first of the rows for which order(row) is 0, or null. The derived table must be sorted by
// order; without one the rows themselves are walked.
template <class Order>
static row_pointer first_row(const row_pointer *sorted, int count, Order order) {
    if (sorted == nullptr) {
        const row_pointer end = FIRST_ROW + count;
        const row_pointer row = std::find_if(
            FIRST_ROW, end, [order](const object_row &candidate) { return order(candidate) == 0; });
        return row != end ? row : nullptr;
    }
    const row_pointer *end = sorted + count;
    const row_pointer *row = std::partition_point(
        sorted, end, [order](row_pointer candidate) { return order(*candidate) < 0; });
    return row != end && order(**row) == 0 ? *row : nullptr;
}

int extension_to_type(const char *extension) {
    if (extension == nullptr || strnlen(extension, EXTENSION_SIZE) == EXTENSION_SIZE) {
        return OBJ_TYPE_UNKNOWN_EXTENSION;
    }
    char key[EXTENSION_SIZE];
    vek_cnvrt_to_upper(extension, key);
    const row_pointer row = first_row(
        sorted_table(&sorted_ext_table, sorted_ext_count, obj_ext_cmp_exts), sorted_ext_count,
        [&key](const object_row &candidate) { return strcasecmp(candidate.extension, key); });
    return row != nullptr ? row->type : OBJ_TYPE_UNKNOWN_EXTENSION;
}

static row_pointer row_of_type(int type) {
    row_pointer row = remembered_row.load(std::memory_order_relaxed);
    if (row->type == type) {
        return row;
    }
    row = first_row(sorted_table(&sorted_type_table, OBJECT_COUNT, obj_ext_cmp_types), OBJECT_COUNT,
                    [type](const object_row &candidate) {
                        return candidate.type < type ? -1 : candidate.type > type;
                    });
    if (row == nullptr) {
        return DEFAULT_ROW;
    }
    remembered_row.store(row, std::memory_order_relaxed);
    return row;
}

const char *type_to_extension(int type) {
    return row_of_type(type)->extension;
}

int type_to_name_length(int type) {
    return row_of_type(type)->name_length;
}

int type_to_mixed_case_OK(int type) {
    return row_of_type(type)->mixed_case_OK;
}

int type_to_weird_chars_OK(int type) {
    return std::find(std::begin(WEIRD_CHARS_TYPES), std::end(WEIRD_CHARS_TYPES), type) !=
           std::end(WEIRD_CHARS_TYPES);
}
