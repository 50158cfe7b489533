// Holds the precompiled headers that the tests share.
int main() {}
