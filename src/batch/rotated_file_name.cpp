#include "batch/rotated_file_name.h"

namespace sorvek {

std::string rmsPassFileName(const std::string& fileName) {
    // A name shorter than four characters loses all of them rather than reading before
    // its start.
    const std::size_t keptLength = fileName.size() >= 4 ? fileName.size() - 4 : 0;
    return fileName.substr(0, keptLength) + "_rot.txt";
}

std::string lineRmsPassFileName(std::int32_t fileExt, const std::string& fileName) {
    return fileExt == 0 ? rmsPassFileName(fileName) : fileName;
}

std::string rotatedOutputFileName(const std::string& fileName) {
    const std::size_t extension = fileName.rfind(".txt");
    if (extension == std::string::npos) return rmsPassFileName(fileName);
    std::string name = fileName;
    name.replace(extension, 4, "_rot.txt");
    return name;
}

}  // namespace sorvek
