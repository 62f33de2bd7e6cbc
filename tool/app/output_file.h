#pragma once

#include <string>

namespace velkpci {

/// Writes a whole file, or leaves what was there: the text goes to a file beside it that takes its place when
/// it is complete, so that no reader ever sees a part. All texts are UTF-8. Throws InputError, which names
/// the file and the reason.
void WriteOutputFile(const std::string& file, const std::string& text);

}  // namespace velkpci
