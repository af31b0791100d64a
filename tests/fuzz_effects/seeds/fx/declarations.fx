float a, b : register(c1), c;
bool2 f = {true, false};
string Name = "x";
