// Stores page frames where the delivery stage finds them.
#pragma once

#include <string>

namespace kestra {

/// Stores one frame as "page_PPPP_jobid_JJJJJJ_SSSS.dat" in the spool's data folder, which is made
/// when it is missing. The sequence number SSSS is the first from 0 whose name is free, so a frame
/// never replaces another. A folder or file that cannot be made loses the page silently; a frame
/// that cannot be stored whole leaves no file and an error line.
/// @param pageNumber  at least 4 digits in the name
/// @param jobNumber   at least 6 digits in the name, its sign included
/// @param data        the frame
/// @param size        its bytes; 0 stores nothing
/// @return where the frame lies; empty where none was stored
std::string DumpPageToFile(unsigned short pageNumber, int jobNumber, const unsigned char* data,
                           long size);

/// The same for a frame whose first bytes, at least one, lie somewhere else than the rest.
std::string DumpPageToFile(unsigned short pageNumber, int jobNumber, const unsigned char* header,
                           long headerSize, const unsigned char* rest, long restSize);

}  // namespace kestra
