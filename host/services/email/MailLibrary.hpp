#pragma once

#include <Bedrock/LateLibrary.hpp>

// Casts are not checked: the types would be asked of the library.
#define G_DISABLE_CAST_CHECKS
#include <gmime/gmime.h>

namespace Host
{
/// The functions of GMime, and of what it is made with, that compose a message, under their own names; see gmime().
struct MailLibrary
{
    Bedrock::LateLibrary library{"libgmime-3.0.so.0"};
    decltype(&::g_date_time_new_from_unix_utc) g_date_time_new_from_unix_utc = library["g_date_time_new_from_unix_utc"];
    decltype(&::g_date_time_unref) g_date_time_unref = library["g_date_time_unref"];
    decltype(&::g_mime_data_wrapper_new_with_stream) g_mime_data_wrapper_new_with_stream =
        library["g_mime_data_wrapper_new_with_stream"];
    decltype(&::g_mime_format_options_free) g_mime_format_options_free = library["g_mime_format_options_free"];
    decltype(&::g_mime_format_options_new) g_mime_format_options_new = library["g_mime_format_options_new"];
    decltype(&::g_mime_format_options_set_newline_format) g_mime_format_options_set_newline_format =
        library["g_mime_format_options_set_newline_format"];
    decltype(&::g_mime_init) g_mime_init = library["g_mime_init"];
    decltype(&::g_mime_message_add_mailbox) g_mime_message_add_mailbox = library["g_mime_message_add_mailbox"];
    decltype(&::g_mime_message_get_to) g_mime_message_get_to = library["g_mime_message_get_to"];
    decltype(&::g_mime_message_new) g_mime_message_new = library["g_mime_message_new"];
    decltype(&::g_mime_message_set_date) g_mime_message_set_date = library["g_mime_message_set_date"];
    decltype(&::g_mime_message_set_mime_part) g_mime_message_set_mime_part = library["g_mime_message_set_mime_part"];
    decltype(&::g_mime_message_set_subject) g_mime_message_set_subject = library["g_mime_message_set_subject"];
    decltype(&::g_mime_multipart_add) g_mime_multipart_add = library["g_mime_multipart_add"];
    decltype(&::g_mime_multipart_new_with_subtype) g_mime_multipart_new_with_subtype =
        library["g_mime_multipart_new_with_subtype"];
    decltype(&::g_mime_object_set_content_type_parameter) g_mime_object_set_content_type_parameter =
        library["g_mime_object_set_content_type_parameter"];
    decltype(&::g_mime_object_set_header) g_mime_object_set_header = library["g_mime_object_set_header"];
    decltype(&::g_mime_object_write_to_stream) g_mime_object_write_to_stream = library["g_mime_object_write_to_stream"];
    decltype(&::g_mime_part_new_with_type) g_mime_part_new_with_type = library["g_mime_part_new_with_type"];
    decltype(&::g_mime_part_set_content) g_mime_part_set_content = library["g_mime_part_set_content"];
    decltype(&::g_mime_part_set_content_encoding) g_mime_part_set_content_encoding = library["g_mime_part_set_content_encoding"];
    decltype(&::g_mime_part_set_filename) g_mime_part_set_filename = library["g_mime_part_set_filename"];
    decltype(&::g_mime_stream_construct) g_mime_stream_construct = library["g_mime_stream_construct"];
    decltype(&::g_mime_stream_fs_new) g_mime_stream_fs_new = library["g_mime_stream_fs_new"];
    decltype(&::g_mime_stream_get_type) g_mime_stream_get_type = library["g_mime_stream_get_type"];
    decltype(&::g_mime_stream_mem_new_with_buffer) g_mime_stream_mem_new_with_buffer =
        library["g_mime_stream_mem_new_with_buffer"];
    decltype(&::g_object_new) g_object_new = library["g_object_new"];
    decltype(&::g_object_unref) g_object_unref = library["g_object_unref"];
    decltype(&::g_type_register_static_simple) g_type_register_static_simple = library["g_type_register_static_simple"];
    decltype(&::internet_address_group_new) internet_address_group_new = library["internet_address_group_new"];
    decltype(&::internet_address_list_add) internet_address_list_add = library["internet_address_list_add"];
    decltype(&::internet_address_list_length) internet_address_list_length = library["internet_address_list_length"];
};

/// GMime, loaded and initialised by the first call. Any thread. Throws std::runtime_error with the loader's reason when it is not
/// installed.
[[nodiscard]] const MailLibrary& gmime();
}
