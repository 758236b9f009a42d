// SPDX-License-Identifier: Apache-2.0
//
// Nothing but the headers that its target precompiles for the programs of GoogleTest.
