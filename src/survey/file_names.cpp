#include "survey/file_names.h"

namespace sorvek {

std::string withEnding(std::string_view name, std::size_t cutCount, std::string_view ending) {
    const std::size_t keptLength = name.size() >= cutCount ? name.size() - cutCount : 0;
    std::string result(name.substr(0, keptLength));
    result += ending;
    return result;
}

std::string rmsPassFileName(const std::string& fileName) {
    return withEnding(fileName, 4, "_rot.txt");
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

std::string exportedFileName(const std::string& fileName) {
    return withEnding(fileName, 4, "_adj.txt");
}

std::string matrixFileName(const std::string& fileName) {
    return withEnding(fileName, scanFileEnding.size(), "s.dat");
}

}  // namespace sorvek
