// Stands for all modules when the headers that they share are compiled; see CMakeLists.txt.
