// Gives the precompiled headers of the tests a place; never linked.

int main() {}
