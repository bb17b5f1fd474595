// Primes from elsewhere, for tests.
#pragma once

// The second Oakley group (RFC 2409): a safe prime of 1024 bits, of which 2 is a square.
inline constexpr char oakley1024[] =
    "ffffffffffffffffc90fdaa22168c234c4c6628b80dc1cd129024e088a67cc74"
    "020bbea63b139b22514a08798e3404ddef9519b3cd3a431b302b0a6df25f1437"
    "4fe1356d6d51c245e485b576625e7ec6f44c42e9a637ed6b0bff5cb6f406b7ed"
    "ee386bfb5a899fa5ae9f24117c4b1fe649286651ece65381ffffffffffffffff";

// Safe primes of 64 bits: 7 and 3 modulo 8, so that 2 is a square of the first one only.
inline constexpr char safe64[] = "8000000000000a77";
inline constexpr char safe64WithoutSquareTwo[] = "8000000000005e83";

// The first prime of 64 bits; it is not a safe prime.
inline constexpr char plain64[] = "800000000000001d";

// Safe primes of 2048 bits that norv found: 7 and 3 modulo 8.
inline constexpr char safe2048[] =
    "c5f69ab841639a87056490bfc3e3f8c931619f2c1f7ead21ba5e46f225d2de8d"
    "7e2003aa7024c9e15bc8627c6e1ddd0c866afc8ea1be82af4fdf5821d7e83f53"
    "ba3314ffd1758e30c34af8647d0e37750bf88955ed9dc6ad33de0e9075173941"
    "dc9d178bb59213939744342fe7c9004954db942328200f693b347ac907bc2d94"
    "d8a6858071d140609711339ee97185d6e38dd1d8b0e6980b564119e98a58101b"
    "2022447de0e893bf7ddbe8b52510c94b5e20aaa2c1403d1fad461b369cccafb0"
    "0f1a62e5a7cff3e0cddf18971aabd44e42b1d2d6a73d44df4d0042b63ecd250f"
    "3b6db4e81ecb8edd807b23cf0c2eb4dd137fc8af17a1d1665f2a95b07d63536f";
inline constexpr char safe2048WithoutSquareTwo[] =
    "c529015fc037840cc6e42f5df73f834cf1953b512add030778e3ce905843cdeb"
    "d766256e332a0e3dcd8996fad9b199db8b3d5e08ad846699a241b7d42f491220"
    "853d835253030aaafc80bf102c4fb1160d290b8490a69cc89629a1d6b32099d7"
    "60ced16fd6285e92726e9e3a1cccb74e4e0996719923c845cb98386c5578f9ac"
    "e574f3d6c858a185007a82b6516269d33fa139fc1029e9197d6b5d4b2900665f"
    "dfc88c394cea24c3dfc6071597881f23fd8023271a8c41a3d62f8d36c36ff911"
    "1c93ecbd4725b1d7655521782875997f857ca624c7c204664ed0c83a882b6121"
    "886d9f72ad2f7bd63253eabea42b3d2a4f5bd63eaa98b8be6e70bbc50a87ce2b";
