// The records of a snapshot trigger: the offsets of all fields with two or four bytes. The records are packed, so a
// field can begin at an odd offset. All other bytes belong to one-byte fields or to fields of more than 32 bits, which
// are already in network order.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;

// Bit 1 of a snapshot's handle is the index of its layout.
// clang-format off
inline constexpr SnapshotLayout snapshot_layouts[] = {
   {{
    2, 23, 26, 42, 46, 55, 58, 61, 63, 76, 78, 84, 86, 89, 91, 93, 111, 122, 124, 126, 134, 162, 181, 183, 185, 187,
    237, 248, 250, 252, 260, 288, 307, 320, 322, 324, 327, 330, 333, 336, 356, 358, 360, 362, 364, 366, 368, 370, 372,
    376, 396, 400, 410, 413, 415, 417, 420, 425, 427, 431, 433, 436, 441, 443, 445, 452, 454, 456, 458, 460, 462, 464,
    471, 476, 478, 510, 530, 549, 551, 561, 563, 565, 595, 606, 609, 613, 629, 631, 637, 651},
    {
    6, 14, 28, 34, 38, 51, 95, 99, 103, 107, 113, 130, 156, 217, 221, 225, 229, 233, 239, 256, 282, 309, 316, 340,
    344, 378, 384, 388, 392, 406, 448, 466, 480, 484, 489, 535, 539, 557, 580, 587, 591}},
   {{
    9, 11, 21, 37, 41, 50, 53, 55, 67, 70, 73, 77, 79, 86, 89, 92, 110, 112, 114, 125, 127, 129, 137, 141, 143, 145,
    147, 160, 172, 176, 188, 199, 201, 264, 275, 277, 279, 287, 315, 345, 348, 351, 354, 357, 360, 367, 389, 393, 420,
    422, 429, 432, 436, 439, 441},
    {
    5, 23, 29, 33, 46, 94, 98, 102, 106, 116, 133, 150, 154, 162, 167, 178, 190, 194, 248, 252, 256, 260, 266, 283,
    309, 334, 341, 363, 370, 374, 381, 385, 400, 404, 408, 412, 416, 424}},
};
// clang-format on

} // namespace velmar_switch
