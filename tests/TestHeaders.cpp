// Stands for all tests when the headers that they share are compiled; see CMakeLists.txt.
