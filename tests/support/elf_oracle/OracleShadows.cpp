// Later namesakes: only shadowedByConstant is the first data object of its name.
__attribute__((used)) static const char version[] = "$Id: x,v 9.9.9.9 Jan  1 2025 00:00:00 y $";
__attribute__((used)) static const int shadowedConstant[] = {-100, -200, -300};
__attribute__((used)) static int shadowedByData = 5;
__attribute__((used)) static const int shadowedByConstant = 9;
