#ifndef TESSARINE_TESTS_SCOPEDLOCALE_H
#define TESSARINE_TESTS_SCOPEDLOCALE_H

#include <clocale>
#include <string>

#include <gtest/gtest.h>

// Switches LC_ALL for one test and puts the previous locale back afterwards.
class ScopedLocale {
public:
    explicit ScopedLocale(char const* i_Name) : m_Previous(std::setlocale(LC_ALL, nullptr)) {
        if (std::setlocale(LC_ALL, i_Name) == nullptr) {
            ADD_FAILURE() << "locale " << i_Name << " is not installed";
        }
    }
    ~ScopedLocale() { std::setlocale(LC_ALL, m_Previous.c_str()); }
    ScopedLocale(ScopedLocale const&) = delete;
    ScopedLocale& operator=(ScopedLocale const&) = delete;

private:
    std::string m_Previous;
};

#endif
