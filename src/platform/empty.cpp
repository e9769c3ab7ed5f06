// SPDX-License-Identifier: GPL-3.0-or-later
// A module needs one source of its own.
