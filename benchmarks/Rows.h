#pragma once

#include "benchmarks/Datasets.h"
#include "benchmarks/Measure.h"
#include "benchmarks/Store.h"

#include <string>
#include <vector>

/// What a sample is taken with.
struct Job {
    const Sizes& sizes;
    /// The store that the workload starts from, or the place for the one that it makes.
    std::string path;
    /// A place of the sample's own, for what is made besides.
    std::string scratch;
};

/// One line of the table: a work, and the same by bare system calls.
struct Row {
    enum class Place { Disk, Memory };
    enum class Stores { All, ThoseThatChange, Ours };

    std::string id;
    std::string work;
    std::string counterpart;
    /// The most that this library's time may be, as a multiple of the counterpart's.
    double goal;
    Place place;
    Dataset start;
    Stores stores;
    Sample (*measure)(const Job& job, const Contender& contender);
    /// `job.path` is this library's store where `counterpartNeedsStore`, else a plain file.
    Sample (*counterpartMeasure)(const Job& job);
    bool counterpartNeedsStore = false;
    /// The least that the file's format and the rules about it leave to do, by bare system calls on
    /// this library's store and what else they cannot do without; none where the counterpart says
    /// it.
    Sample (*floor)(const Job& job) = nullptr;
    std::string floorText = {};
    /// What the floor is compared with, where it is not the counterpart.
    Sample (*floorCounterpart)(const Job& job) = nullptr;
};

const std::vector<Row>& AllRows();
const Row& FindRow(const std::string& id);
