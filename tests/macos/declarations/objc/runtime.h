#pragma once

typedef struct objc_class *Class;

extern "C" Class objc_lookUpClass(const char *name);
