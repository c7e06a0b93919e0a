// Plexa: finite-element mesh tools.  Umbrella header declaring the whole
// public API of zebplexa (and the companion containers it is built on).
#pragma once

#include <zeb/dense.hpp>
#include <zeb/lapack.hpp>
#include <zeb/misc/histogram.hpp>
#include <zeb/plexa/core.hpp>
#include <zeb/plexa/edges.hpp>
#include <zeb/plexa/geometry.hpp>
#include <zeb/plexa/gradation.hpp>
#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/io.hpp>
#include <zeb/plexa/messages.hpp>
#include <zeb/plexa/metrics.hpp>
#include <zeb/plexa/quality.hpp>
#include <zeb/plexa/search.hpp>
#include <zeb/plexa/topology.hpp>
