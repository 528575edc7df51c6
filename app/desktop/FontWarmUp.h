#pragma once

namespace ferrolt {

/// Has the system's fonts looked up on another thread while the program connects to its display. To be called
/// before the application object is made; whatever comes of it, the fonts are there when they are asked for.
void warmUpFonts();

}  // namespace ferrolt
