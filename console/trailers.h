// Trailers of the console's answers, which tell pd-show what it prints on stderr and how it exits.
#pragma once

namespace console {

inline constexpr char status_trailer[] = "Pd-Show-Status";       // "0", or "1" if something differs or couldn't be read
inline constexpr char complaint_trailer[] = "Pd-Show-Complaint"; // a message; there may be several
inline constexpr char trailer_names[] = "Pd-Show-Status, Pd-Show-Complaint";

} // namespace console
