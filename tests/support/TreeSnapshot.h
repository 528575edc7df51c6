#pragma once

#include <QByteArray>
#include <QString>

#include <filesystem>
#include <map>
#include <string>

namespace ferrolt {

/// All that stands below `folder`, by path: type, mode, and a file's content or a link's target, so that two
/// trees can be compared at a glance. Follows no link.
std::map<std::string, std::string> treeSnapshot(const std::filesystem::path &folder);

/// A text that shows the first difference; empty if there is none.
QByteArray treeDifference(const std::map<std::string, std::string> &actual,
                          const std::map<std::string, std::string> &expected);

void writeFile(const std::filesystem::path &path, const QByteArray &content);
QByteArray readFile(const std::filesystem::path &path);

/// A file that can be run: a shell script.
void writeScript(const std::filesystem::path &path, const QByteArray &commands);

}  // namespace ferrolt
