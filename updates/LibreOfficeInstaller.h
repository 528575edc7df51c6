#pragma once

namespace ferrolt {

class LibreOfficeInstaller {};

}  // namespace ferrolt
