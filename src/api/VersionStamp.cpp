// The version stamp that every library of the family carries. Loaders read it
// straight from the file's symbol table (as "_ZL7version") to choose between
// copies without loading them, so it must stay a file-local array of this
// name, kept even though nothing refers to it, and the library unstripped.
#include "QdxBuildVersion.h"

__attribute__((used)) static const char version[] =
    "$Id: QdxSDKWrapper,v " QDX_SDK_VERSION " " __DATE__ " " __TIME__ " Norvane $";
