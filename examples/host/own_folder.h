// Where the sample host keeps its data when it was merely unpacked.
#pragma once

namespace host {

/// Names the folder above the program's own as the data folder, for this process, when that holds
/// Settings\System.reg: the library itself finds it only above a folder called bin64. What
/// ORSIN_HOST_DATA names already stays. Call it before the library starts.
void use_own_folder();

}  // namespace host
