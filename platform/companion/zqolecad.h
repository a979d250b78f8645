#pragma once

/// @file
/// What the interface takes from the maker's automation library: its numbering of the AutoCAD releases.

namespace zqolecad {

/// A release of AutoCAD by its year.
enum START_ACADVER : int {
    START_ACAD2000 = 2000,
    START_ACAD2004 = 2004,
    START_ACAD2005 = 2005,
    START_ACAD2006 = 2006,
    START_ACAD2007 = 2007,
    START_ACAD2008 = 2008,
    START_ACAD2009 = 2009,
    START_ACAD2010 = 2010,
    START_ACAD2011 = 2011,
    START_ACAD2012 = 2012,
    START_ACAD2013 = 2013,
    START_ACAD2014 = 2014,
    START_ACAD2015 = 2015,
    START_ACAD2016 = 2016,
    START_ACAD2017 = 2017,
    START_ACAD2018 = 2018,
    START_ACAD2019 = 2019,
    START_ACAD2020 = 2020,
    START_ACAD2021 = 2021,
    START_ACAD2022 = 2022
};

}  // namespace zqolecad
