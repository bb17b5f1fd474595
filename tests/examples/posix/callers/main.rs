use std::process::{Command, Stdio};

// The lines.

fn main() {
    let arguments: Vec<String> = std::env::args().skip(1).collect();
    let options: Vec<&str> = arguments[1..].iter().map(String::as_str).collect();
    match find_prime(arguments[0].parse().expect("bits"), &options) {
        Ok(prime) => println!("{prime}"),
        Err(error) => {
            eprintln!("{error}");
            std::process::exit(1);
        }
    }
}
